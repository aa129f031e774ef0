#include "tools/hookhost/digest.h"

#include <fmt/format.h>
#include <memory>
#include <openssl/evp.h>
#include <unistd.h>

namespace hookhost {

std::string digestOf(int descriptor)
{
    std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> const digest(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    EVP_DigestInit_ex(digest.get(), EVP_sha256(), nullptr);
    unsigned char bytes[65536];
    ssize_t length = 0;
    while ((length = read(descriptor, bytes, sizeof bytes)) > 0) {
        EVP_DigestUpdate(digest.get(), bytes, static_cast<std::size_t>(length));
    }
    unsigned char result[EVP_MAX_MD_SIZE];
    unsigned size = 0;
    EVP_DigestFinal_ex(digest.get(), result, &size);
    return length < 0 ? "unreadable" : fmt::format("{:02x}", fmt::join(result, result + size, ""));
}

} // namespace hookhost
