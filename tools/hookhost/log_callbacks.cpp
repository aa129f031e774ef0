#include "tools/hookhost/log_callbacks.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <utility>

namespace hookhost {

namespace {

constexpr std::size_t callbackCount = 1024;

MessageReceiver& receiverOfAll()
{
    // Deliberate: never destroyed. A thread of the hook may log while the process exits.
    static MessageReceiver& receiver = *new MessageReceiver;
    return receiver;
}

std::array<std::atomic<Step>, callbackCount> stepOf;

template<std::size_t Index>
void logMessage(char const* message)
{
    receiverOfAll()(stepOf[Index], message);
}

template<std::size_t... Indices>
constexpr std::array<HookLogCallback, callbackCount> makeCallbacks(std::index_sequence<Indices...>)
{
    return {logMessage<Indices>...};
}

constexpr std::array<HookLogCallback, callbackCount> callbacks =
    makeCallbacks(std::make_index_sequence<callbackCount>());

} // namespace

void receiveMessages(MessageReceiver receiver)
{
    receiverOfAll() = std::move(receiver);
}

HookLogCallback callbackFor(Step step)
{
    stepOf[step % callbackCount] = step;
    return callbacks[step % callbackCount];
}

} // namespace hookhost
