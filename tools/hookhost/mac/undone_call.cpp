#include "tools/hookhost/undone_call.h"

namespace hookhost {

UndoneCall::UndoneCall(void* /*context*/, std::uintptr_t /*address*/) noexcept
{
}

UndoneCall::~UndoneCall() = default;

} // namespace hookhost
