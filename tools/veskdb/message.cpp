#include "tools/veskdb/message.h"

#include <cstdio>

namespace veskdb {

void printMessage(std::initializer_list<char const*> pieces, char const* end) noexcept
{
    std::fputs("veskdb: ", stderr);
    for (char const* piece : pieces) {
        std::fputs(piece, stderr);
    }
    std::fputs(end, stderr);
}

} // namespace veskdb
