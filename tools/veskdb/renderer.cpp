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

namespace veskdb {

namespace {

void closeOnce(int& descriptor)
{
    if (descriptor >= 0) {
        close(descriptor);
    }
    descriptor = -1;
}

} // namespace

Renderer::Renderer()
{
    std::array<int, 2> graph{};
    std::array<int, 2> picture{};
    std::array<int, 2> failure{};
    for (auto* const each : {&graph, &picture, &failure}) {
        if (pipe(each->data()) != 0 || fcntl((*each)[0], F_SETFD, FD_CLOEXEC) != 0 ||
            fcntl((*each)[1], F_SETFD, FD_CLOEXEC) != 0) {
            throw Refusal(kExitError, fmt::format("dot cannot be started: {}", std::strerror(errno)));
        }
    }
    child = fork();
    if (child == 0) {
        dup2(graph[0], STDIN_FILENO);
        dup2(picture[1], STDOUT_FILENO);
        execlp("dot", "dot", "-Tsvg", static_cast<char*>(nullptr));
        int const error = errno;
        _exit(write(failure[1], &error, sizeof error) > 0 ? 127 : 126);
    }
    close(graph[0]);
    close(picture[1]);
    close(failure[1]);
    input = graph[1];
    output = picture[0];
    int error = child < 0 ? errno : 0;
    bool const failed = child < 0 || read(failure[0], &error, sizeof error) == sizeof error;
    close(failure[0]);
    if (failed) {
        closeOnce(input);
        closeOnce(output);
        throw Refusal(kExitError,
                      fmt::format("--format svg needs Graphviz's program dot: {}; install the package "
                                  "graphviz, or give --format dot or mermaid",
                                  std::strerror(error)));
    }
}

Renderer::~Renderer()
{
    closeOnce(input);
    closeOnce(output);
    if (child > 0) {
        waitpid(child, nullptr, 0);
    }
}

std::string Renderer::draw(std::string const& graph)
{
    int const error = common::writeAll(input, graph); // dot reads everything before it draws
    closeOnce(input);
    std::string picture;
    std::array<char, 65536> buffer;
    ssize_t count = 0;
    while ((count = read(output, buffer.data(), buffer.size())) > 0) {
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
