#include "hooks/HookSession.h"

#include <cstring>

void log(CCustomHookSession const& session, char const* text)
{
    if (session.logCallback != nullptr) {
        session.logCallback(text);
    }
}

bool CCustomHookSession::GetPropetyValue(char const* name, char const** value) const
{
    if (name == nullptr) {
        log(*this, "NULL pointer passed as property name.");
        return false;
    }
    if (value == nullptr) {
        // Deliberate: mentions the name although the value pointer is missing; log parsers match this text.
        log(*this, "NULL pointer passed for property name.");
        return false;
    }
    if (propertyMap == nullptr) {
        log(*this, "Property map is not initialized.");
        return false;
    }
    for (HookProperty const* property = propertyMap; property->name != nullptr; ++property) {
        if (std::strcmp(property->name, name) == 0) {
            *value = property->value;
            return true;
        }
    }
    return false;
}
