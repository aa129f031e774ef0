/// The call that led a crashed thread to an address without instructions.
#ifndef TOOLS_HOOKHOST_UNDONE_CALL_H
#define TOOLS_HOOKHOST_UNDONE_CALL_H

#include <cstdint>

namespace hookhost {

/// If the processor could not fetch an instruction, as after a call through a null function pointer, no stack frame
/// belongs to the program counter, and backtrace() finds no callers. For its lifetime, this object changes the
/// registers that a signal handler has received to those after the return from that call. Does nothing on macOS.
class UndoneCall
{
public:
    /// @param context  the third argument of the handler of SIGSEGV or SIGBUS; outlives this object
    /// @param address  the address that could not be used
    UndoneCall(void* context, std::uintptr_t address) noexcept;
    UndoneCall(UndoneCall const&) = delete;
    UndoneCall& operator=(UndoneCall const&) = delete;
    ~UndoneCall();

    /// Whether the registers are changed.
    bool isUndone() const { return registers != nullptr; }

private:
    void* registers = nullptr;                          ///< the context; null if nothing is changed
    [[maybe_unused]] std::uintptr_t programCounter = 0; ///< as the signal handler received it
    [[maybe_unused]] std::uintptr_t stackPointer = 0;   ///< the same
};

} // namespace hookhost

#endif
