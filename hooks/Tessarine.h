/// The custom actions of the Tessarine application. Each logs its steps and ignores its failures, which are logged,
/// too. None throws: running out of memory ends the action and is logged.
#ifndef HOOKS_TESSARINE_H
#define HOOKS_TESSARINE_H

#include "hooks/HookSession.h"

/// Makes the helper programs of the installed application, its agent and its analyser, uninstall themselves silently,
/// so that they no longer run while the application is replaced or removed. The installed copy is the payload that is
/// recorded as installed, with the product name "Fendrial 12 Tessarine" and the product family "Halvorick". Its folder
/// is the payload's "INSTALLDIR" value in domain 0.
///
/// The helpers are not waited for. If one cannot be started, the call also returns in the forked child: see
/// executeWithTimeout.
///
/// @param session  session to log to
/// @return the status of closing the payload database; kVeskInvalidArgument if it could not be opened
HOOK_VISIBLE int closeConflictingProcesses(CCustomHookSession const& session);

/// Starts a program as a separate process with the arguments "-uninstall" and "-silent".
///
/// The program is neither waited for nor reaped, and despite the function's name there is no time-out. If the program
/// cannot be started, the forked child returns from this call as a second copy of the caller: QvInstallerCustomHookProc
/// describes how callers end that copy.
///
/// @param session  session to log to, for both processes; a message is cut after 999 bytes
/// @param path     program to start, and its argument 0; searched for in PATH if it contains no "/"
/// @return always 0, which means nothing
HOOK_VISIBLE int executeWithTimeout(CCustomHookSession const& session, char const* path);

/// Gives this machine's installation of the application a random identifier, once: writes the property list
/// "/Library/Application Support/Zelko/Fendrial Tessarine/12/UUID.plist" with the one entry "UUID" unless
/// something exists at that path. The folder chain is created as needed, with the process's default modes.
///
/// The file is created completely or not at all. A failure leaves the folders made so far and no file.
///
/// @param session  session to log to
HOOK_VISIBLE void createUUIDFile(CCustomHookSession const& session);

/// Copies the newest "customevents.dat" of an earlier version (12, then 11.0, 10.0, 9.0) in the user's own
/// Application Support folder into the folder of version 12, with its owner, permission bits and dates.
/// Folders that are missing, or that the process cannot read, write and search, get the home folder's
/// attributes. An existing file of version 12 is itself the newest and stays as it is.
///
/// The copy is made completely or not at all. "File Copied" is logged whether or not a copy was made.
///
/// @param session  session to log to
HOOK_VISIBLE void copyCustomEventsDATfileFromPreviousInstall(CCustomHookSession const& session);

/// Records the application's product code, the session's "ZelkoCode" property, in the master configuration
/// store as the row domain 1 / subdomain code / key "DefaultDriverPayload" / value code. A master store that
/// does not exist is not created.
///
/// @param session  session to read the property from and to log to
/// @return kHookOK, even if the store could not be opened or written; kHookNoProductCode without the property
HOOK_VISIBLE int addEntryToCacheDB(CCustomHookSession const& session);

#endif
