/// The custom actions of the Tessarine application. Each tells the session's log what it does, line by line,
/// and swallows its failures. None throws: out of memory ends the action and is told to the log.
#ifndef HOOKS_TESSARINE_H
#define HOOKS_TESSARINE_H

#include "hooks/HookSession.h"

/// Asks the helper programs of the installed application, its agent and its analyser, to uninstall themselves
/// silently, so that they no longer run while the application is replaced or removed. The installed copy is the
/// payload on record as installed with the product name "Fendrial 12 Tessarine" and the product family
/// "Halvorick"; its "INSTALLDIR" value in domain 0 tells the folder.
///
/// The helpers are started and not waited for. After one could not be started, the call returns a second time,
/// in the child process: see executeWithTimeout.
///
/// @param session  whose log is told
/// @return the status of closing the payload database; kVeskInvalidArgument when it could not be opened
HOOK_VISIBLE int closeConflictingProcesses(CCustomHookSession const& session);

/// Starts a program as a separate process with the arguments "-uninstall" and "-silent".
///
/// Deliberate: despite its name it has no time-out; the program is neither waited for nor reaped. Also
/// deliberate: when the program cannot be started, the child process returns from this call as a second copy
/// of the caller. Whoever calls the plug-in notes its process id before and ends the copy with another one.
///
/// @param session  whose log is told, by both processes; a message is cut after 999 bytes
/// @param path     program to start, also its own zeroth argument; looked for in PATH when it holds no "/"
/// @return a number without a meaning
HOOK_VISIBLE int executeWithTimeout(CCustomHookSession const& session, char const* path);

/// Gives this machine's installation of the application a random identifier, once: writes the property list
/// "/Library/Application Support/Zelko/Fendrial Tessarine/12/UUID.plist" with the one entry "UUID" unless
/// something exists at that path. The folder chain is created as needed, with the process's default modes.
///
/// The file appears whole or not at all. A failure leaves the folders made so far and no file.
///
/// @param session  whose log is told
HOOK_VISIBLE void createUUIDFile(CCustomHookSession const& session);

/// Copies the newest "customevents.dat" of an earlier version (12, then 11.0, 10.0, 9.0) in the user's own
/// Application Support folder into the folder of version 12, with its owner, permission bits and dates.
/// Folders that are missing, or that the process cannot read, write and search, get the home folder's
/// attributes. A version-12 file that exists is itself the newest and stays as it is.
///
/// The copy appears whole or not at all. The last line logged, "File Copied", tells the path taken, not the
/// outcome.
///
/// @param session  whose log is told
HOOK_VISIBLE void copyCustomEventsDATfileFromPreviousInstall(CCustomHookSession const& session);

/// Records the application's product code, the session's "ZelkoCode" property, in the master configuration
/// store as the row domain 1 / subdomain code / key "DefaultDriverPayload" / value code. A master store that
/// does not exist is not created.
///
/// @param session  whose property is read and whose log is told
/// @return 0 when the session has the property, whatever became of the store; 1 when it has not
HOOK_VISIBLE int addEntryToCacheDB(CCustomHookSession const& session);

#endif
