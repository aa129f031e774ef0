/* Preloaded into a program: its waits end at once. At its end it prints how long it would have waited. */
#define _GNU_SOURCE
#include <stdio.h>
#include <unistd.h>

#pragma GCC visibility push(default)
static unsigned long waited;

int usleep(useconds_t microseconds)
{
    waited += microseconds;
    return 0;
}

__attribute__((destructor)) static void print(void)
{
    fprintf(stderr, "waited %lu ms\n", waited / 1000);
}
