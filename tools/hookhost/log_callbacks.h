/// The log callbacks that are passed to the plug-in.
#ifndef TOOLS_HOOKHOST_LOG_CALLBACKS_H
#define TOOLS_HOOKHOST_LOG_CALLBACKS_H

#include "hooks/CustomHooks.h"
#include "tools/hookhost/run_state.h"

#include <functional>

namespace hookhost {

/// Receives a message and the step whose call its callback was made for. May be called by any thread of the worker
/// and of its copies.
using MessageReceiver = std::function<void(Step step, char const* message)>;

/// Sets the receiver of all callbacks' messages. Call it before the first callback is in use.
void receiveMessages(MessageReceiver receiver);

/// A callback function for one call: the interface passes no context, so each call needs a function of its own.
/// Deliberate: there are 1024 functions. The next call gets the first one again, and messages by that one then count as
/// those of the later call.
HookLogCallback callbackFor(Step step);

} // namespace hookhost

#endif
