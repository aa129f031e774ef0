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
    for (; property->name != NULL; ++property) {
        if (strcmp(property->name, name) == 0) {
            return property->value;
        }
    }
    return "";
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
    char const* const act = valueOf(properties, "act");
    snprintf(text, sizeof text, "%s/called", getenv("HOME"));
    fclose(fopen(text, "a"));
    snprintf(text, sizeof text, "%d/%u %s", (int)installMode, (unsigned)entryMode,
             valueOf(properties, "say"));
    if (logCallback != NULL) {
        logCallback(text);
    }
    if (strcmp(act, "hang") == 0) {
        for (;;) {
            pause();
        }
    } else if (strcmp(act, "crash") == 0) {
        signal(SIGSEGV, SIG_DFL);
        raise(SIGSEGV);
    } else if (strcmp(act, "exit") == 0) {
        exit(5);
    } else if (strcmp(act, "copy") == 0) {
        /* A copy returns first, as after a program that could not be started. */
        pid_t const copy = fork();
        int status = 1;
        if (copy != 0 && (waitpid(copy, &status, 0) != copy || status != 0)) {
            return 99;
        }
        logCallback(copy == 0 ? "copy" : "original");
    }
    return entryMode * (uint32_t)strtoul(valueOf(properties, "times"), NULL, 10) + (uint32_t)reserved;
}
