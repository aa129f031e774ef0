/// A file descriptor that is closed when its object is destroyed.
#ifndef PLATFORM_DESCRIPTOR_H
#define PLATFORM_DESCRIPTOR_H

#include <unistd.h>
#include <utility>

namespace platform {

class Descriptor
{
public:
    /// @param opened  the result of open(2), owned from now on; nothing is open if it is negative
    explicit Descriptor(int opened = -1) : value(opened) {}
    Descriptor(Descriptor&& other) noexcept : value(std::exchange(other.value, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(value, other.value);
        return *this;
    }
    ~Descriptor()
    {
        if (isOpen()) {
            close(value);
        }
    }

    bool isOpen() const { return value >= 0; }
    int get() const { return value; }

private:
    int value;
};

} // namespace platform

#endif
