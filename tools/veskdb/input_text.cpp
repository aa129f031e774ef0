#include "tools/veskdb/input_text.h"

#include "platform/descriptor.h"
#include "tools/veskdb/refusal.h"
#include "tools/veskdb/system_error.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

namespace veskdb {

std::string readInput(std::string const& path)
{
    platform::Descriptor const file(path == "-" ? dup(STDIN_FILENO)
                                                : open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string text;
    std::array<char, 65536> buffer;
    ssize_t count = file.isOpen() ? 1 : -1;
    while (count > 0 && (count = read(file.get(), buffer.data(), buffer.size())) > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    if (count < 0) {
        throw Refusal(kExitError, fmt::format("{}: {}", nameOfInput(path), describeError(errno)));
    }
    return text;
}

std::string nameOfInput(std::string const& path)
{
    return path == "-" ? "standard input" : fmt::format("'{}'", path);
}

} // namespace veskdb
