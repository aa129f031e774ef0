#include "platform/platform.h"

#include <uuid/uuid.h>

namespace platform {

std::string newUUIDString()
{
    uuid_t identifier;
    uuid_generate_random(identifier);
    char text[UUID_STR_LEN];
    uuid_unparse_upper(identifier, text);
    return text;
}

} // namespace platform
