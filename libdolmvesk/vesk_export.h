/// Marks the functions that the plug-in exports. Compiles as C and as C++.
#ifndef LIBDOLMVESK_VESK_EXPORT_H
#define LIBDOLMVESK_VESK_EXPORT_H

#ifdef __cplusplus
#define VESK_API extern "C" __attribute__((visibility("default")))
#else
#define VESK_API __attribute__((visibility("default")))
#endif

#endif
