#include "tools/hookhost/digest.h"

#include <CommonCrypto/CommonDigest.h>
#include <fmt/format.h>
#include <unistd.h>

namespace hookhost {

std::string digestOf(int descriptor)
{
    CC_SHA256_CTX digest;
    CC_SHA256_Init(&digest);
    unsigned char bytes[65536];
    ssize_t length = 0;
    while ((length = read(descriptor, bytes, sizeof bytes)) > 0) {
        CC_SHA256_Update(&digest, bytes, static_cast<CC_LONG>(length));
    }
    unsigned char result[CC_SHA256_DIGEST_LENGTH];
    CC_SHA256_Final(result, &digest);
    return length < 0 ? "unreadable" : fmt::format("{:02x}", fmt::join(result, result + sizeof result, ""));
}

} // namespace hookhost
