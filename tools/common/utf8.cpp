#include "tools/common/utf8.h"

namespace common {

namespace {

unsigned char byteAt(std::string_view text, std::size_t at)
{
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

bool isBetween(unsigned char byte, unsigned char first, unsigned char last)
{
    return byte >= first && byte <= last;
}

} // namespace

std::size_t characterLength(std::string_view text, std::size_t at)
{
    unsigned char const first = byteAt(text, at);
    if (first < 0x80) {
        return 1;
    }
    std::size_t const length = isBetween(first, 0xC2, 0xDF)   ? 2
                               : isBetween(first, 0xE0, 0xEF) ? 3
                               : isBetween(first, 0xF0, 0xF4) ? 4
                                                              : 0;
    // The second byte excludes overlong encodings, surrogates, and numbers above 10FFFF.
    unsigned char const lowest = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    unsigned char const highest = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (length == 0 || !isBetween(byteAt(text, at + 1), lowest, highest)) {
        return 0;
    }
    for (std::size_t each = 2; each < length; ++each) {
        if (!isBetween(byteAt(text, at + each), 0x80, 0xBF)) {
            return 0;
        }
    }
    return length;
}

bool isUTF8(std::string_view text)
{
    for (std::size_t at = 0; at < text.size();) {
        std::size_t const length = characterLength(text, at);
        if (length == 0) {
            return false;
        }
        at += length;
    }
    return true;
}

} // namespace common
