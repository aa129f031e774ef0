#include "tools/veskdb/renderer.h"

#include "tools/common/descriptor_output.h"
#include "tools/veskdb/refusal.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace veskdb {

namespace {

using platform::Descriptor;

[[noreturn]] void refuse(int error)
{
    throw Refusal(kExitError,
                  fmt::format("--format svg needs Graphviz's program dot: {}; install the package "
                              "graphviz, or give --format dot or mermaid",
                              std::strerror(error)));
}

/// A pipe that no program inherits.
class Pipe
{
public:
    Pipe()
    {
        std::array<int, 2> ends{};
        if (pipe(ends.data()) != 0) {
            refuse(errno);
        }
        for (int const end : ends) {
            fcntl(end, F_SETFD, FD_CLOEXEC);
        }
        reader = Descriptor(ends[0]);
        writer = Descriptor(ends[1]);
    }

    Descriptor reader;
    Descriptor writer;
};

} // namespace

Renderer::Renderer()
{
    Pipe graph;
    Pipe picture;
    Pipe failure;
    child = fork();
    if (child == 0) {
        dup2(graph.reader.get(), STDIN_FILENO);
        dup2(picture.writer.get(), STDOUT_FILENO);
        execlp("dot", "dot", "-Tsvg", static_cast<char*>(nullptr));
        int const error = errno;
        (void)!write(failure.writer.get(), &error, sizeof error);
        _exit(127);
    }
    failure.writer = Descriptor();
    int error = errno;
    if (child < 0 || read(failure.reader.get(), &error, sizeof error) == sizeof error) {
        refuse(error);
    }
    input = std::move(graph.writer);
    output = std::move(picture.reader);
}

Renderer::~Renderer()
{
    input = Descriptor();
    output = Descriptor();
    if (child > 0) {
        waitpid(child, nullptr, 0);
    }
}

std::string Renderer::draw(std::string const& graph)
{
    int const error = common::writeAll(input.get(), graph); // dot reads everything before it draws
    input = Descriptor();
    std::string picture;
    std::array<char, 65536> buffer;
    ssize_t count = 0;
    while ((count = read(output.get(), buffer.data(), buffer.size())) > 0) {
        picture.append(buffer.data(), static_cast<std::size_t>(count));
    }
    int status = 0;
    bool const ended = waitpid(child, &status, 0) == child;
    child = -1;
    if (error != 0 || count < 0 || !ended || status != 0) {
        throw Refusal(kExitError, "dot failed; see its own message above");
    }
    return picture;
}

} // namespace veskdb
