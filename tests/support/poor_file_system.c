/* Preloaded into a program: its file system makes no hard links or, with WITHOUT_LOCKS in the environment, grants no
 * locks. */
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <unistd.h>

#pragma GCC visibility push(default)
int fcntl64(int file, int command, ...);

int fcntl64(int file, int command, ...)
{
    va_list arguments;
    long argument;
    va_start(arguments, command);
    argument = va_arg(arguments, long);
    va_end(arguments);
    int const locks =
        command == F_SETLK || command == F_SETLKW || command == F_SETLK64 || command == F_SETLKW64;
    if (locks && getenv("WITHOUT_LOCKS") != NULL) {
        errno = ENOLCK;
        return -1;
    }
#ifdef SYS_fcntl64
    return (int)syscall(SYS_fcntl64, file, command, argument);
#else
    return (int)syscall(SYS_fcntl, file, command, argument);
#endif
}

int fcntl(int file, int command, ...) __attribute__((alias("fcntl64")));
/* The name in 32-bit programs whose time has 64 bits. */
int __fcntl_time64(int file, int command, ...) __attribute__((alias("fcntl64")));

int linkat(int oldFolder, char const* oldPath, int newFolder, char const* newPath, int flags)
{
    (void)oldFolder, (void)oldPath, (void)newFolder, (void)newPath, (void)flags;
    errno = EPERM;
    return -1;
}
