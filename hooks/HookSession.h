/// The installer's session record and the one way that the plug-in speaks to the installer's log.
#ifndef HOOKS_HOOK_SESSION_H
#define HOOKS_HOOK_SESSION_H

#include "hooks/CustomHooks.h"

#include <cstddef>
#include <cstdint>

/// What the installer hands to one call: five words in this order. It is built on the stack of
/// QvInstallerCustomHookProc, passed down by const reference and never changed. The strings behind it belong
/// to the installer and outlive the call.
struct CCustomHookSession
{
    HookProperty const* propertyMap; ///< ends at the first null name; null when the installer set up none
    uint32_t entryMode;              ///< the phase, a HookEntryMode
    int32_t installMode;             ///< a HookInstallMode
    int32_t reserved;                ///< the installer's own; nothing here reads it
    HookLogCallback logCallback;     ///< null: silence

    /// Looks a property up, byte for byte; the first of several with one name wins. The name is spelt as the
    /// installer's other plug-ins spell it.
    ///
    /// A null argument or a session without a map is told to the log; an absent property is not.
    ///
    /// @param name   property name
    /// @param value  receives the installer's own pointer, not a copy, when the property is found (it may be
    ///               null); untouched otherwise
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

/// Hands one message to the session's log callback; without a callback it does nothing.
///
/// @param session  the session whose log is meant
/// @param text     NUL-terminated message without a newline, needed for the call only
void log(CCustomHookSession const& session, char const* text);

#endif
