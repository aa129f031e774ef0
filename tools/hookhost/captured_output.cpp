#include "tools/hookhost/captured_output.h"

#include "tools/hookhost/processes.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <poll.h>
#include <sys/ioctl.h>
#include <system_error>
#include <unistd.h>

namespace hookhost {

using platform::Descriptor;

CapturedOutput::CapturedOutput(RunState& sharedState) : state(sharedState)
{
    for (Pipe& each : pipes) {
        int ends[2] = {-1, -1};
        if (pipe(ends) != 0 || ends[0] >= FD_SETSIZE) {
            throw std::system_error(EMFILE, std::generic_category(), "no pipe for the hook's output");
        }
        each.readingEnd = Descriptor(ends[0]);
        each.writingEnd = Descriptor(ends[1]);
        fcntl(ends[0], F_SETFL, O_NONBLOCK);
        each.workersEnd.emplace(ends[0]);
    }
}

void CapturedOutput::redirect()
{
    inWorker = true;
    for (std::size_t stream = 0; stream < pipes.size(); ++stream) {
        dup2(pipes[stream].writingEnd.get(), static_cast<int>(STDOUT_FILENO + stream));
        pipes[stream].writingEnd = Descriptor();
        pipes[stream].readingEnd = Descriptor();
    }
    // Deliberate: buffers by line, not by block as usual for a pipe, so that lines and messages keep their order.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

void CapturedOutput::closeWritingEnds()
{
    for (Pipe& each : pipes) {
        each.writingEnd = Descriptor();
        each.workersEnd.reset();
    }
}

void CapturedOutput::record(Report& report, RecordWriter::Turn& turn, Step step, pid_t worker)
{
    for (std::size_t stream = 0; stream < pipes.size(); ++stream) {
        Pipe& from = pipes[stream];
        UnfinishedLine& line = state.unfinishedLines[stream];
        int const descriptor = inWorker ? from.workersEnd->number() : from.readingEnd.get();
        int left = 0; // no more than is there now: a writer that never pauses must not hold up other records
        ioctl(descriptor, FIONREAD, &left);
        for (;;) {
            ssize_t const length =
                read(descriptor, line.bytes.data() + line.length, line.bytes.size() - line.length);
            if (length <= 0) {
                from.ended = length == 0;
                break;
            }
            line.length += static_cast<std::size_t>(length);
            left -= static_cast<int>(length);
            std::string_view rest(line.bytes.data(), line.length);
            for (std::size_t end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
                report.output(turn, step, worker, static_cast<Stream>(stream), rest.substr(0, end));
                rest.remove_prefix(end + 1);
            }
            if (rest.size() == line.bytes.size()) {
                report.output(turn, step, worker, static_cast<Stream>(stream), rest);
                rest.remove_prefix(rest.size());
            }
            line.length = rest.size();
            std::memmove(line.bytes.data(), rest.data(), rest.size());
            if (left <= 0) {
                break;
            }
        }
    }
}

void CapturedOutput::recordAll(Report& report, RecordWriter::Turn& turn, Step step, pid_t worker)
{
    record(report, turn, step, worker);
    for (std::size_t stream = 0; stream < pipes.size(); ++stream) {
        UnfinishedLine& line = state.unfinishedLines[stream];
        if (line.length > 0) {
            report.output(turn, step, worker, static_cast<Stream>(stream),
                          std::string_view(line.bytes.data(), line.length));
            line.length = 0;
        }
    }
}

int CapturedOutput::addTo(fd_set& descriptors) const
{
    int above = 0;
    for (Pipe const& each : pipes) {
        if (!each.ended) {
            FD_SET(each.readingEnd.get(), &descriptors);
            above = std::max(above, each.readingEnd.get() + 1);
        }
    }
    return above;
}

void CapturedOutput::leaveReader()
{
    if ((pipes[0].ended && pipes[1].ended) || fork() != 0) {
        return;
    }
    setsid();
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    dup2(pipes[0].readingEnd.get(), STDIN_FILENO);
    dup2(pipes[1].readingEnd.get(), STDOUT_FILENO);
    closeAllFrom(STDERR_FILENO);
    if (chdir("/") != 0) {
        _exit(0);
    }
    pollfd ends[] = {{STDIN_FILENO, POLLIN, {}}, {STDOUT_FILENO, POLLIN, {}}};
    while (ends[0].fd >= 0 || ends[1].fd >= 0) {
        poll(ends, std::size(ends), -1);
        for (pollfd& each : ends) {
            char discarded[4096];
            // Does not block, but fails: copies of the worker share this pipe and may have emptied it meanwhile.
            if (each.revents != 0 && read(each.fd, discarded, sizeof discarded) == 0) {
                each.fd = -1;
            }
        }
    }
    _exit(0);
}

} // namespace hookhost
