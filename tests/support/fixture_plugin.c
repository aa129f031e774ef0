/* A plug-in that does what its session properties say: what hookhost must cope with. */
#include "hooks/CustomHooks.h"

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

__attribute__((constructor)) static void loaded(void)
{
    fputs("fixture loaded\n", stderr);
}

static char const* valueOf(struct HookProperty const* property, char const* name)
{
    while (property->name != NULL && strcmp(property->name, name) != 0) {
        ++property;
    }
    return property->name != NULL ? property->value : "";
}

uint32_t QvInstallerCustomHookInitSession(void)
{
    return kHookOK;
}

#ifndef WITHOUT_CLOSE_ENTRY
uint32_t QvInstallerCustomHookCloseSession(void)
{
    return kHookOK;
}
#endif

/* Leaves a trace in the home folder and logs "mode/phase say"; then acts. */
uint32_t QvInstallerCustomHookProc(struct HookProperty const* properties, uint32_t entryMode,
                                   int32_t installMode, int32_t reserved, HookLogCallback logCallback)
{
    char text[200];
    snprintf(text, sizeof text, "%s/called", getenv("HOME"));
    fclose(fopen(text, "a"));
    snprintf(text, sizeof text, "%d/%u %s", installMode, entryMode, valueOf(properties, "say"));
    if (logCallback != NULL) {
        logCallback(text);
    }
    switch (valueOf(properties, "act")[0]) {
    case 'h': /* hang */
        sleep(60);
        break;
    case 'c':           /* crash */
        raise(SIGTRAP); /* none that a sanitizer catches */
        break;
    case 'e': /* exit */
        exit(5);
    case 't': /* twice: a copy returns first, as after a program that could not be started */
        logCallback(fork() == 0 ? "copy" : wait(&reserved) > 0 && reserved == 0 ? "original" : "failed copy");
        reserved = 0;
    }
    return entryMode * (uint32_t)strtoul(valueOf(properties, "times"), NULL, 10) + (uint32_t)reserved;
}
