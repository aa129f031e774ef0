#include "tools/hookhost/captured_output.h"

#include "tools/hookhost/processes.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <system_error>
#include <unistd.h>

namespace hookhost {

namespace {

void closeOnce(int& descriptor)
{
    if (descriptor >= 0) {
        close(descriptor);
        descriptor = -1;
    }
}

} // namespace

CapturedOutput::CapturedOutput(RunState& sharedState) : state(sharedState)
{
    for (Pipe& each : pipes) {
        int ends[2] = {-1, -1};
        if (pipe(ends) != 0 || ends[0] >= FD_SETSIZE) {
            throw std::system_error(EMFILE, std::generic_category(), "no pipe for the hook's output");
        }
        each.readingEnd = ends[0];
        each.writingEnd = ends[1];
        fcntl(each.readingEnd, F_SETFL, O_NONBLOCK);
        each.workersEnd.emplace(each.readingEnd);
    }
}

CapturedOutput::~CapturedOutput()
{
    for (Pipe& each : pipes) {
        closeOnce(each.readingEnd);
        closeOnce(each.writingEnd);
    }
}

void CapturedOutput::redirect()
{
    inWorker = true;
    for (std::size_t stream = 0; stream < pipes.size(); ++stream) {
        dup2(pipes[stream].writingEnd, static_cast<int>(STDOUT_FILENO + stream));
        closeOnce(pipes[stream].writingEnd);
        closeOnce(pipes[stream].readingEnd);
    }
    // Deliberate: buffers by line, not by block as usual for a pipe, so that lines and messages keep their order.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

void CapturedOutput::closeWritingEnds()
{
    for (Pipe& each : pipes) {
        closeOnce(each.writingEnd);
        each.workersEnd.reset();
    }
}

void CapturedOutput::record(Report& report, RecordWriter::Turn& turn, Step step, pid_t worker)
{
    for (std::size_t stream = 0; stream < pipes.size(); ++stream) {
        Pipe& from = pipes[stream];
        UnfinishedLine& line = state.unfinishedLines[stream];
        int const descriptor = inWorker ? from.workersEnd->number() : from.readingEnd;
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
            FD_SET(each.readingEnd, &descriptors);
            above = std::max(above, each.readingEnd + 1);
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
    dup2(pipes[0].readingEnd, STDIN_FILENO);
    dup2(pipes[1].readingEnd, STDOUT_FILENO);
    closeAllFrom(STDERR_FILENO);
    if (chdir("/") != 0) {
        _exit(0);
    }
    bool open[2] = {true, true};
    while (open[0] || open[1]) {
        fd_set descriptors;
        FD_ZERO(&descriptors);
        for (int each = 0; each < 2; ++each) {
            if (open[each]) {
                FD_SET(each, &descriptors);
            }
        }
        select(2, &descriptors, nullptr, nullptr, nullptr);
        for (int each = 0; each < 2; ++each) {
            char discarded[4096];
            if (FD_ISSET(each, &descriptors)) {
                // Does not block, but fails: copies of the worker share this pipe and may have emptied it meanwhile.
                open[each] = read(each, discarded, sizeof discarded) != 0;
            }
        }
    }
    _exit(0);
}

} // namespace hookhost
