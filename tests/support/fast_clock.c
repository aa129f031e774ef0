/* Preloaded into a program: its clock advances by a second each time it is read, its waits end at once, and every file
 * is old. When it ends, it prints how long it would have waited. */
#include <stdio.h>
#include <time.h>
#include <unistd.h>

#pragma GCC visibility push(default)
static unsigned long waited;

int clock_gettime(clockid_t clock, struct timespec* time)
{
    static time_t seconds;
    (void)clock;
    time->tv_sec = ++seconds;
    time->tv_nsec = 0;
    return 0;
}

time_t time(time_t* now)
{
    (void)now;
    return 0x7FFFFFFF;
}

int usleep(useconds_t microseconds)
{
    waited += microseconds;
    return 0;
}

__attribute__((destructor)) static void print(void)
{
    fprintf(stderr, "waited %lu ms\n", waited / 1000);
}
