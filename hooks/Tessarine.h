/// The custom actions of the Tessarine application. Each tells the session's log what it does, line by line,
/// and swallows its failures. None throws: out of memory ends the action and is told to the log.
#ifndef HOOKS_TESSARINE_H
#define HOOKS_TESSARINE_H

#include "hooks/HookSession.h"

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
