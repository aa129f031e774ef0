/// The installer's session record, and the function through which the plug-in logs.
#ifndef HOOKS_HOOK_SESSION_H
#define HOOKS_HOOK_SESSION_H

#include "hooks/CustomHooks.h"

#include <cstddef>
#include <cstdint>

/// The arguments of one call: five words in this order. QvInstallerCustomHookProc builds it on its stack and passes
/// it on by const reference; it is never changed. The strings that it points to belong to the installer and outlive
/// the call.
struct CCustomHookSession
{
    HookProperty const* propertyMap; ///< ends at the first null name; null if the installer passed none
    uint32_t entryMode;              ///< the phase, a HookEntryMode
    int32_t installMode;             ///< a HookInstallMode
    int32_t reserved;                ///< the installer's own; never read
    HookLogCallback logCallback;     ///< null: nothing is logged

    /// Looks up a property by its name, byte for byte. If several have that name, the first one is found. The
    /// function's own name is spelt as in the installer's other plug-ins.
    ///
    /// A null argument or a session without a map is logged; an absent property is not.
    ///
    /// @param name   property name
    /// @param value  receives the installer's own pointer, not a copy, if the property is found (it may be null);
    ///               untouched otherwise
    /// @return whether the property was found
    bool GetPropetyValue(char const* name, char const** value) const;
};

static_assert(sizeof(void*) != 4 || sizeof(CCustomHookSession) == 20, "the record is five 32-bit words");
static_assert(sizeof(void*) != 4 || (offsetof(CCustomHookSession, propertyMap) == 0 &&
                                     offsetof(CCustomHookSession, entryMode) == 4 &&
                                     offsetof(CCustomHookSession, installMode) == 8 &&
                                     offsetof(CCustomHookSession, reserved) == 12 &&
                                     offsetof(CCustomHookSession, logCallback) == 16),
              "in the order above");

/// Passes one message to the session's log callback. Does nothing without a callback.
///
/// @param session  session to log to
/// @param text     NUL-terminated message without a newline, needed for the call only
void log(CCustomHookSession const& session, char const* text);

#endif
