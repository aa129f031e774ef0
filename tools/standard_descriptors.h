/// Standard input, output and error of a tool that may have been started without them.
#ifndef TOOLS_STANDARD_DESCRIPTORS_H
#define TOOLS_STANDARD_DESCRIPTORS_H

/// A file that is opened later must not become standard output and receive what is printed. What is missing is
/// taken by a descriptor that cannot be written to: a lost line is noticed. To be called first, in the
/// machine's own root.
void occupyStandardDescriptors();

#endif
