#include "tools/hookhost/undone_call.h"

#include <cstring>
#include <ucontext.h>

namespace hookhost {

namespace {

/// The registers of an interrupted thread that a call changes.
struct Registers
{
    explicit Registers(void* context) : machine(static_cast<ucontext_t*>(context)->uc_mcontext) {}

    mcontext_t& machine;
#if defined(__x86_64__)
    greg_t& programCounter = machine.gregs[REG_RIP];
    greg_t& stackPointer = machine.gregs[REG_RSP];
#else
    greg_t& programCounter = machine.gregs[REG_EIP];
    greg_t& stackPointer = machine.gregs[REG_ESP];
#endif

    void returnFromCall() const
    {
        greg_t const* top = nullptr;
        static_assert(sizeof top == sizeof stackPointer, "a register holds an address");
        std::memcpy(&top, &stackPointer, sizeof top);
        programCounter = *top; // where a call has put the return address
        stackPointer += static_cast<greg_t>(sizeof(greg_t));
    }
};

} // namespace

UndoneCall::UndoneCall(void* context, std::uintptr_t address) noexcept
{
    Registers const now(context);
    programCounter = static_cast<std::uintptr_t>(now.programCounter);
    stackPointer = static_cast<std::uintptr_t>(now.stackPointer);
    if (programCounter == address) {
        registers = context;
        now.returnFromCall();
    }
}

UndoneCall::~UndoneCall()
{
    if (registers != nullptr) {
        Registers const changed(registers);
        changed.programCounter = static_cast<greg_t>(programCounter);
        changed.stackPointer = static_cast<greg_t>(stackPointer);
    }
}

} // namespace hookhost
