/// The log callbacks that calls into the plug-in are given.
#ifndef TOOLS_HOOKHOST_LOG_CALLBACKS_H
#define TOOLS_HOOKHOST_LOG_CALLBACKS_H

#include "hooks/CustomHooks.h"
#include "tools/hookhost/run_state.h"

#include <functional>

namespace hookhost {

/// Receives a message and the step whose call its callback was made for. May be called by any thread of the worker
/// and of its copies.
using MessageReceiver = std::function<void(Step step, char const* message)>;

/// Sets what receives the messages of all callbacks. To be called before the first one is in use.
void receiveMessages(MessageReceiver receiver);

/// A callback function for one call: the interface passes no context, so the function itself has to tell the calls
/// apart. Deliberate: there are 1024 functions; the call after that gets the first one again, and messages by it then
/// count as those of the later call.
HookLogCallback callbackFor(Step step);

} // namespace hookhost

#endif
