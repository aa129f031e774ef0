/// An open file that closes itself.
#ifndef PLATFORM_DESCRIPTOR_H
#define PLATFORM_DESCRIPTOR_H

#include <unistd.h>

namespace platform {

class Descriptor
{
public:
    /// @param opened  what open(2) gave, owned from here on; below 0: nothing is open
    explicit Descriptor(int opened) : value(opened) {}
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;
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
