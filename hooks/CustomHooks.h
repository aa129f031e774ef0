/// The plug-in's interface for a package installer: three plain entry points and the types they take.
/// Compiles as C and as C++. Every number is 32 bits wide and the calling convention is the platform's own.
#ifndef HOOKS_CUSTOM_HOOKS_H
#define HOOKS_CUSTOM_HOOKS_H

#include <stdint.h>

#define HOOK_VISIBLE __attribute__((visibility("default")))

#ifdef __cplusplus
#define HOOK_API extern "C" HOOK_VISIBLE
#else
#define HOOK_API HOOK_VISIBLE
#endif

/// Statuses of the hook interface.
enum HookStatus
{
    kHookOK = 0,            ///< success; every phase except a reinstall's post-payload always returns it
    kHookNoProductCode = 1, ///< a reinstall's post-payload: the session has no "ZelkoCode" property
    kHookUnsupportedInstallMode = 3, ///< the install mode is none of HookInstallMode; nothing was run
    kHookUnsupportedEntryMode = 4    ///< the entry mode is none of HookEntryMode; nothing was run
};

enum HookInstallMode
{
    kHookInstall = 0,
    kHookReinstall = 1,
    kHookUninstall = 2
};

/// The phase of an install mode that a call belongs to.
enum HookEntryMode
{
    kHookPreSystemCheck = 0,
    kHookPrePayload = 1,
    kHookPostPayload = 2,
    kHookSessionOpen = 3,
    kHookSessionClose = 4
};

/// One session property. A property map is an array of these that ends at the first null name.
struct HookProperty
{
    char const* name;
    char const* value;
};

/// The installer's log function: takes one message without a newline, valid during the call only.
typedef void (*HookLogCallback)(char const* message);

/// Opens a hook session. Does nothing, keeps nothing and ignores all arguments.
///
/// @return kHookOK
HOOK_API uint32_t QvInstallerCustomHookInitSession(void);

/// Closes a hook session. Does nothing and ignores all arguments.
///
/// @return kHookOK
HOOK_API uint32_t QvInstallerCustomHookCloseSession(void);

/// Runs the phase procedure of one install mode and phase, synchronously on the calling thread. Phases may
/// be called in any order, alone or repeatedly, with or without the open and close calls around them.
///
/// Failures of a phase's actions are logged and ignored; nothing is rolled back. If a helper program cannot be
/// started, the call also returns in the forked child: compare getpid() before and after it, and end the process
/// whose id has changed.
///
/// @param propertyMap  the session's properties, or null for none; read during the call only
/// @param entryMode    the phase, a HookEntryMode
/// @param installMode  a HookInstallMode
/// @param reserved     kept in the session and never read
/// @param logCallback  called once per message, in order; null for no log, which changes nothing else
/// @return kHookOK; kHookNoProductCode; kHookUnsupportedInstallMode (for any entry mode);
///         kHookUnsupportedEntryMode
HOOK_API uint32_t QvInstallerCustomHookProc(struct HookProperty const* propertyMap, uint32_t entryMode,
                                            int32_t installMode, int32_t reserved,
                                            HookLogCallback logCallback);

#endif
