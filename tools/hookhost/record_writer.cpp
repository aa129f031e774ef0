#include "tools/hookhost/record_writer.h"

#include "tools/common/descriptor_output.h"

#include <cerrno>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>

namespace hookhost {

RecordWriter::RecordWriter(RunState& sharedState) : state(sharedState), output(STDOUT_FILENO)
{
}

namespace {

constexpr int patience = 100; // milliseconds between two calls of the function that is called while waiting

/// Discards the pending SIGPIPE of a write to a closed pipe: the hook's own handling of that signal must not matter.
void discardBrokenPipeSignal()
{
    sigset_t signals;
    sigpending(&signals);
    if (sigismember(&signals, SIGPIPE) == 1) {
        sigemptyset(&signals);
        sigaddset(&signals, SIGPIPE);
        int signal = 0;
        sigwait(&signals, &signal);
    }
}

} // namespace

RecordWriter::Turn::Turn(RecordWriter& recordWriter) noexcept : writer(recordWriter)
{
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &signalsBefore);
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancellationBefore);
    do {
        held = writer.state.lock.lock(patience);
    } while (!held && writer.waitOn());
}

RecordWriter::Turn::~Turn()
{
    if (held) {
        writer.state.lock.unlock();
    }
    pthread_setcancelstate(cancellationBefore, nullptr);
    pthread_sigmask(SIG_SETMASK, &signalsBefore, nullptr);
}

void RecordWriter::Turn::write(std::string_view lines) noexcept
{
    int const descriptor = writer.output.number();
    // Waits before it writes: a process that is killed while it waits for a slow reader has written nothing yet.
    pollfd room = {descriptor, POLLOUT, {}};
    bool waits = held && descriptor >= 0;
    while (waits && poll(&room, 1, patience) == 0) {
        waits = writer.waitOn();
    }
    if (!waits) {
        writer.state.writeError = descriptor < 0 ? EBADF : EINTR;
        return;
    }
    int error = 0;
    if (writer.state.amidRecord) { // its writer was killed, or had no room
        error = common::writeAll(descriptor, "\n");
    }
    writer.state.amidRecord = true;
    error = error != 0 ? error : common::writeAll(descriptor, lines);
    writer.state.amidRecord = error != 0;
    if (error != 0) {
        writer.state.writeError = error;
    }
    if (error == EPIPE) {
        discardBrokenPipeSignal();
    }
}

} // namespace hookhost
