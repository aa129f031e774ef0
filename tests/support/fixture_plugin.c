/* A plug-in that misbehaves as its session properties request: hookhost must cope with it. */
#include "hooks/CustomHooks.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <grp.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

static HookLogCallback latest; /* the log of the previous call */
static char const* atUnload = "";

/* Opens the FIFO /running if there is one: its reader then knows that this process has come so far, and sees its end. */
static void openRunning(void)
{
    open("/running", O_WRONLY);
}

__attribute__((constructor)) static void loaded(void)
{
    fputs("fixture loaded\n", stderr);
    if (getenv("HANGS_WHEN_LOADED") != NULL) {
        openRunning();
        pause();
    }
    if (getenv("PRINTED_WHEN_LOADED") != NULL) {
        puts(getenv("PRINTED_WHEN_LOADED"));
    }
}

__attribute__((destructor)) static void unloaded(void)
{
    if (strcmp(atUnload, "log at unload") == 0) {
        latest("unloading");
    } else if (strcmp(atUnload, "crash at unload") == 0) {
        raise(SIGTRAP);
    } else if (strcmp(atUnload, "exit at the end") == 0) {
        _exit(7);
    }
}

static char const* valueOf(struct HookProperty const* property, char const* name)
{
    while (property != NULL && property->name != NULL && strcmp(property->name, name) != 0) {
        ++property;
    }
    return property != NULL && property->name != NULL ? property->value : "";
}

/* Logs long lines, each of one letter. */
static void* chatter(void* letter)
{
    char line[20001] = "";
    memset(line, *(char const*)letter, sizeof line - 1);
    for (int count = 0; count < 20; ++count) {
        latest(line);
    }
    return NULL;
}

/* A helper program in a copy of the process, with another one that waits for it: it waits for a writer of /go, prints
 * more than a pipe holds, and opens /done for reading. */
static void helper(void)
{
    int started[2];
    char none;
    if (pipe(started) == 0 && fork() == 0) {
        pid_t const copy = fork();
        close(started[0]);
        close(started[1]);
        if (copy != 0) {
            waitpid(copy, NULL, 0);
            _exit(0);
        }
        close(open("/go", O_RDONLY));
        close(STDERR_FILENO);
        for (int count = 0; count < 5000; ++count) {
            printf("%050d\n", count);
        }
        fflush(stdout);
        _exit(open("/done", O_RDONLY) < 0);
    }
    close(started[1]);
    if (read(started[0], &none, 1) != 0) { /* ends when both have started */
        latest("a helper wrote");
    }
    close(started[0]);
}

static void append(char const* path, char const* text)
{
    FILE* const file = fopen(path, "a");
    fputs(text, file);
    fclose(file);
}

/* Every kind of change to a file tree. */
static void change(void)
{
    struct stat status;
    stat("/etc/same", &status);
    struct timespec const kept[] = {status.st_atim, status.st_mtim};
    struct timespec const other[] = {{1, 0}, {1, 0}};
    truncate("/etc/same", 0);
    append("/etc/same", "bbbb");
    utimensat(AT_FDCWD, "/etc/same", kept, 0);
    utimensat(AT_FDCWD, "/etc/dated", other, 0);
    utimensat(AT_FDCWD, "/etc", other, 0);
    append("/etc/keep", "abc");
    int failed = chmod("/etc/keep", 0600) + chown("/etc/owned", 1000, 80);
    failed += unlink("/etc/node") + mknod("/etc/node", S_IFCHR | 0600, 0x105);
    failed += unlink("/etc/old") + unlink("/etc/link") + symlink("other", "/etc/link");
    failed += unlink("/etc/kind") + mkdir("/etc/kind", 0700);
    failed +=
        unlink("/etc/tree/a") + rmdir("/etc/tree") + mkdir("/etc/tree", 0755) + mkdir("/etc/tree/b  c", 0755);
    failed += chown("/etc/tree", 0, 80);
    failed += rename("/etc/moved", "/etc/renamed");
    failed += mkfifo("/etc/fifo", 0600) + mknod("/etc/device", S_IFCHR | 0600, 0x103);
    failed += mknod("/etc/block", S_IFBLK | 0600, 0x103) + mknod("/etc/socket", S_IFSOCK | 0600, 0);
    append("/mounted \\ here/file", "more");
    failed += chmod("/mounted \\ here", 0750);
    append("/dev/ignored", "");
    if (failed != 0) {
        latest("not everything could be changed");
    }
}

static void handle(int number)
{
    (void)number;
}

/* Everything that a hook can leave behind in its process. */
static void leaveTraces(void)
{
    struct rlimit const limit = {64, 64};
    gid_t const group = 9;
    char lengthy[102] = "";
    memset(lengthy, 'x', sizeof lengthy - 1);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    int failed = chdir("/in") + open("/in", O_RDONLY) < 0;
    failed += setenv("ADDED", "value", 1) + setenv("LENGTHY", lengthy, 1) + unsetenv("HOME") +
              sigprocmask(SIG_BLOCK, &signals, NULL);
    failed += setrlimit(RLIMIT_NOFILE, &limit) + (signal(SIGTERM, SIG_IGN) == SIG_ERR);
    failed += signal(SIGUSR2, handle) == SIG_ERR;
    umask(0);
    failed += setgroups(1, &group) + setregid(5, 6) + setreuid(7, 8);
    if (failed != 0) {
        latest("not every trace could be left");
    }
}

/* Overflows the stack. */
static int recurse(int const volatile* depth)
{
    int volatile const deeper = *depth + 1;
    return deeper > 0 ? recurse(&deeper) + deeper : 0;
}

/* Logs the numbers of the descriptors that are open. */
static void logDescriptors(HookLogCallback log)
{
    char numbers[200] = "open:";
    size_t length = strlen(numbers);
    for (int descriptor = 0; descriptor < 70000 && length + 6 < sizeof numbers; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) >= 0) {
            length += (size_t)sprintf(numbers + length, " %d", descriptor);
        }
    }
    log(numbers);
}

/* Logs which of the signals that a host handles are not as for a new program. */
static void logSignals(HookLogCallback log)
{
    int const signals[] = {SIGCHLD, SIGTERM, SIGINT, SIGHUP, SIGQUIT};
    char text[200] = "changed:";
    struct sigaction action;
    sigset_t blocked;
    sigprocmask(SIG_BLOCK, NULL, &blocked);
    for (size_t each = 0; each < sizeof signals / sizeof *signals; ++each) {
        sigaction(signals[each], NULL, &action);
        if (action.sa_handler != SIG_DFL || sigismember(&blocked, signals[each])) {
            sprintf(text + strlen(text), " %d", signals[each]);
        }
    }
    log(text);
}

static void printMounts(void)
{
    FILE* const mounts = fopen("/proc/self/mounts", "r");
    for (int each = getc(mounts); each != EOF; each = getc(mounts)) {
        putchar(each);
    }
    fclose(mounts);
}

static void becomeAnotherUser(HookLogCallback log)
{
    int const became = setgid(1234) == 0 && setuid(1234) == 0;
    log(became && access("/", X_OK) == 0 ? "another user" : "still root, or locked out");
}

/* A fault of the processor: the name of its signal, without a sanitizer's checks. */
static void fault(char const* signalName)
{
    if (strcmp(signalName, "SIGBUS") == 0) { /* behind the end of an empty file */
        int volatile const* const behind =
            mmap(NULL, 1, PROT_READ, MAP_SHARED, open("/empty", O_RDWR | O_CREAT, 0600), 0);
        (void)*behind;
    } else if (strcmp(signalName, "SIGILL") == 0) {
        __asm__ volatile("ud2");
    } else if (strcmp(signalName, "SIGFPE") == 0) {
        __asm__ volatile("div %0" : : "r"(0) : "eax", "edx");
    }
}

static void* loadAnother(void* path)
{
    return dlopen(path, RTLD_NOW);
}

static void act(char const* what, HookLogCallback log)
{
    pthread_t threads[2];
    if (strcmp(what, "hang") == 0) {
        openRunning();
        sleep(60);
    } else if (strcmp(what, "hang as another user") == 0) {
        becomeAnotherUser(log);
        openRunning();
        sleep(60);
    } else if (strcmp(what, "crash as another user") == 0) {
        becomeAnotherUser(log);
        raise(SIGTRAP);
    } else if (strcmp(what, "crash") == 0) {
        raise(SIGTRAP); /* none that a sanitizer catches */
    } else if (strncmp(what, "SIG", 3) == 0) {
        fault(what);
    } else if (strcmp(what, "zombie") == 0) { /* a process that has ended and was not waited for */
        siginfo_t ended;
        pid_t const child = fork();
        if (child == 0) {
            _exit(0);
        }
        waitid(P_PID, (id_t)child, &ended, WEXITED | WNOWAIT);
    } else if (strcmp(what, "descriptors") == 0) {
        logDescriptors(log);
    } else if (strcmp(what, "signals") == 0) {
        logSignals(log);
    } else if (strcmp(what, "mounts") == 0) {
        printMounts();
    } else if (strcmp(what, "segmentation signal") ==
               0) { /* none of the processor's, which would occur again */
        raise(SIGSEGV);
    } else if (strcmp(what, "exit at the end") == 0) { /* the plug-in stays loaded until then */
        Dl_info self;
        dladdr(&latest, &self);
        dlopen(self.dli_fname, RTLD_NOW | RTLD_NODELETE);
    } else if (strcmp(what, "crash while loading") == 0) { /* the loader's lock is held for ever */
        setenv("HANGS_WHEN_LOADED", "", 1);
        pthread_create(&threads[0], NULL, loadAnother, "/another.so");
        close(open("/running", O_RDONLY));
        raise(SIGTRAP);
    } else if (strcmp(what, "call null") == 0) {
        void (*volatile const nothing)(void) = NULL;
        nothing();
    } else if (strcmp(what, "recurse") == 0) {
        int const depth = 0;
        recurse(&depth);
    } else if (strcmp(what, "default SIGPIPE") == 0) {
        signal(SIGPIPE, SIG_DFL);
        log("by default");
    } else if (strcmp(what, "print long line") == 0) {
        printf("%070000d", 0);
    } else if (strcmp(what, "exit") == 0) {
        exit(5);
    } else if (strcmp(what, "twice") == 0) {
        /* As after a program that could not be started: a copy returns first. */
        int status = 0;
        log(fork() == 0 ? "copy" : wait(&status) > 0 && status == 0 ? "original" : "failed copy");
    } else if (strcmp(what, "print") == 0) {
        kill(getppid(), SIGSTOP); /* the host must not be needed to keep the order */
        printf("one\ntwo");
        log("three");
        fputs("= fo\\ur\n", stderr);
        kill(getppid(), SIGCONT);
    } else if (strcmp(what, "close low") == 0 || strcmp(what, "close all") == 0) {
        int const end = what[6] == 'a' ? 100000 : 1024;
        for (int descriptor = 0; descriptor < end; ++descriptor) {
            close(descriptor);
        }
        open("/taken", O_WRONLY | O_CREAT, 0600); /* as standard input, but no further */
        log("after closing");
    } else if (strcmp(what, "chatter") == 0) {
        pid_t const copy = fork();
        if (copy != 0) {
            openRunning();
        }
        latest = log;
        pthread_create(&threads[0], NULL, chatter, copy == 0 ? "a" : "b");
        pthread_create(&threads[1], NULL, chatter, copy == 0 ? "c" : "d");
        pthread_join(threads[0], NULL);
        pthread_join(threads[1], NULL);
        if (copy == 0) {
            _exit(0);
        }
        waitpid(copy, NULL, 0);
    } else if (strcmp(what, "log late") == 0 && latest != NULL) {
        latest("late\n= status 0");
    } else if (strcmp(what, "change") == 0 || strcmp(what, "change and crash") == 0) {
        latest = log;
        change();
        if (what[6] != '\0') {
            raise(SIGTRAP);
        }
    } else if (strcmp(what, "traces") == 0) {
        latest = log;
        leaveTraces();
    } else if (strcmp(what, "helper") == 0) {
        helper();
    }
}

uint32_t QvInstallerCustomHookInitSession(void)
{
    char const* const status = getenv("STATUS_OF_OPEN_ENTRY");
    return status != NULL ? (uint32_t)atoi(status) : kHookOK;
}

#ifdef WITHOUT_CLOSE_ENTRY
#pragma weak QvInstallerCustomHookCloseSession
uint32_t (*const referenceToMissingEntry)(void) =
    QvInstallerCustomHookCloseSession; /* a symbol, but undefined */
#else
uint32_t QvInstallerCustomHookCloseSession(void)
{
    return kHookOK;
}
#endif

/* Creates a file in the home folder, logs "mode/phase say", then acts. */
uint32_t QvInstallerCustomHookProc(struct HookProperty const* properties, uint32_t entryMode,
                                   int32_t installMode, int32_t reserved, HookLogCallback logCallback)
{
    char text[200];
    snprintf(text, sizeof text, "%s/called", getenv("HOME"));
    FILE* const file = fopen(text, "a");
    if (file != NULL) {
        fclose(file);
    } else {
        logCallback("no trace can be left");
    }
    snprintf(text, sizeof text, "%d/%u %s", installMode, entryMode, valueOf(properties, "say"));
    if (logCallback != NULL) {
        logCallback(properties == NULL ? NULL : text);
    }
    if (*valueOf(properties, "log") != '\0') {
        logCallback(valueOf(properties, "log"));
    }
    char const* const when = valueOf(properties, "when"); /* the one phase to act in */
    act(*when != '\0' && (uint32_t)atoi(when) != entryMode ? "" : valueOf(properties, "act"), logCallback);
    atUnload = valueOf(properties, "act");
    latest = logCallback;
    return entryMode * (uint32_t)strtoul(valueOf(properties, "times"), NULL, 10) + (uint32_t)reserved;
}
