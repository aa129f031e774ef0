The help of every form.

  $ . "$TESTDIR/machine.sh"
  $ veskdb --help
  Looks after the installer's records.
  
  Usage:
    veskdb list pdb [--state installed|not-installed|all]
    veskdb list pcd|cache [DOMAIN] [SUBDOMAIN] [KEY]
    veskdb list vesk
    veskdb list actions [ID]
    veskdb show pdb ID
    veskdb show vesk ID
    veskdb why pdb ID
    veskdb find TEXT [DB]...
    veskdb graph pdb [ID] [--depth N] [--format dot|mermaid|svg]
    veskdb diff DB [A] [B]
    veskdb info
    veskdb verify [DB]...
    veskdb add pdb ID --family F --name N --version V --signature S [--conflicts ID]...
            [--upgrades ID]... [--relation TYPE OTHER] [--replace]
    veskdb set pdb ID [--state installed|not-installed] [--conflicts ID]... [--upgrades ID]...
            [--relation TYPE OTHER] [--data DOMAIN KEY VALUE] [--value-from FILE]
    veskdb set pcd|cache DOMAIN SUBDOMAIN KEY [VALUE] [--value-from FILE]
    veskdb remove pdb ID [--data DOMAIN KEY] [--relation OTHER] [--yes]
    veskdb remove pcd|cache DOMAIN SUBDOMAIN [KEY] [--yes]
    veskdb export pdb [ID]...
    veskdb export pcd|cache
    veskdb import pdb [FILE] [--replace]
    veskdb import pcd|cache [FILE] [--replace]
    veskdb backup [DB]... [--to FILE]
    veskdb restore DB [--from FILE] [--yes]
    veskdb salvage DB [--from FILE] --to FILE
    veskdb recover DB [--file FILE]
  
  Common options:
    -h,--help                   Print this help message and exit
    --root DIR                  Enter this folder as the root first; FILEs are inside it
    --json                      Print one JSON document
  
  Options:
    --version                   Print the version of this program
  
  Options may appear anywhere; '--' ends them. 'veskdb VERB --help' describes a verb.
  DB is pdb (payloads), pcd (master settings), cache (cached settings) or vesk (catalogue).
  Exit status: 0; 1 not found, declined, or a check failed; 2 usage or database error.
  $ veskdb restore --help
  Replace a database by its backup.
  
  Usage:
    veskdb restore DB [--from FILE] [--yes]
  
  Positionals:
    DB REQUIRED                 pdb, pcd, cache or vesk
  
  Common options:
    -h,--help                   Print this help message and exit
    --root DIR                  Enter this folder as the root first; FILEs are inside it
    --json                      Print one JSON document
  
  Options:
    --from FILE                 Restore this file instead of the backup
    -y,--yes                    Do not ask
  
  $ for verb in list show why find graph diff info verify add set remove export import backup salvage recover
  > do veskdb $verb --help | sed -e '/^Common/,/^  --json/d' -e '/^$/d'; done
  List payloads, the oldest change first.
  Usage:
    veskdb list pdb [--state installed|not-installed|all]
  Options:
    --state installed|not-installed|all
                                Only payloads in this state
  List settings.
  Usage:
    veskdb list pcd|cache [DOMAIN] [SUBDOMAIN] [KEY]
  Positionals:
    DOMAIN                      A 32-bit number
    SUBDOMAIN                   Only this subdomain
    KEY                         Only this setting; exits 1 when it is not on record
  List the catalogue's payloads and collections.
  Usage:
    veskdb list vesk
  List the user actions on products.
  Usage:
    veskdb list actions [ID]
  Positionals:
    ID                          Only of this product
  Show a payload with its relations and data.
  Usage:
    veskdb show pdb ID
  Positionals:
    ID REQUIRED                 Of the payload
  Show all records of a payload or collection.
  Usage:
    veskdb show vesk ID
  Positionals:
    ID REQUIRED                 Of the payload or collection
  Explain why a payload can or cannot be marked installed.
  Usage:
    veskdb why pdb ID
  Positionals:
    ID REQUIRED                 Of the payload
  Find where a text is on record.
  Usage:
    veskdb find TEXT [DB]...
  Positionals:
    TEXT REQUIRED               Any part of a value, taken literally
    DB ...                      pdb, pcd, cache or vesk; all when none is named
  Draw payloads and their relations.
  Usage:
    veskdb graph pdb [ID] [--depth N] [--format dot|mermaid|svg]
  Positionals:
    ID                          Only payloads that relations connect with this one
  Options:
    --depth N                   Only payloads at most this many relations away from ID
    --format dot|mermaid|svg    The format of the picture, dot by default; svg needs Graphviz
  Compare two files of a database, or two roots.
  Usage:
    veskdb diff DB [A] [B]
  Positionals:
    DB REQUIRED                 pdb, pcd, cache or vesk
    A                           The old file or root; by default the backup
    B                           The new file or root; by default the live file
  Print path, size, owner, mode, date, versions and rows of each database.
  Usage:
    veskdb info
  Check databases and backups and report every fault.
  Usage:
    veskdb verify [DB]...
  Positionals:
    DB ...                      pdb, pcd, cache or vesk; all when none is named
  Put a payload on record, not installed.
  Usage:
    veskdb add pdb ID --family F --name N --version V --signature S [--conflicts ID]...
            [--upgrades ID]... [--relation TYPE OTHER] [--replace]
  Positionals:
    ID REQUIRED                 Of the payload
  Options:
    --family F REQUIRED         Product family
    --name N REQUIRED           Product name
    --version V REQUIRED        Product version
    --signature S REQUIRED      Signature of the payload
    --conflicts ID ...          Short for --relation conflicts ID
    --upgrades ID ...           Short for --relation upgrades ID
    --relation TYPE OTHER       A relation to another payload; may be repeated. TYPE is conflicts, upgrades, requires, required, critical, recommended, load-patch, load-lang-pack
    --replace                   Replace the record of this payload, if there is one
  Mark a payload, or store a value for it.
  Usage:
    veskdb set pdb ID [--state installed|not-installed] [--conflicts ID]... [--upgrades ID]...
            [--relation TYPE OTHER] [--data DOMAIN KEY VALUE] [--value-from FILE]
  Positionals:
    ID REQUIRED                 Of the payload
  Options:
    --state installed|not-installed
                                Mark the payload
    --conflicts ID ...          Short for --relation conflicts ID
    --upgrades ID ...           Short for --relation upgrades ID
    --relation TYPE OTHER       A relation to another payload; may be repeated. TYPE is conflicts, upgrades, requires, required, critical, recommended, load-patch, load-lang-pack
    --data DOMAIN KEY VALUE     A value to store for the payload; DOMAIN is 0 to 5
    --value-from FILE           Read the value from this file instead, byte for byte; '-' is standard input
  Write a setting.
  Usage:
    veskdb set pcd|cache DOMAIN SUBDOMAIN KEY [VALUE] [--value-from FILE]
  Positionals:
    DOMAIN REQUIRED             A 32-bit number
    SUBDOMAIN REQUIRED          Any text
    KEY REQUIRED                Any text
    VALUE                       Any text
  Options:
    --value-from FILE           Read the value from this file instead, byte for byte; '-' is standard input
  Remove a payload, and what it has upgraded.
  Usage:
    veskdb remove pdb ID [--data DOMAIN KEY] [--relation OTHER] [--yes]
  Positionals:
    ID REQUIRED                 Of the payload
  Options:
    --data DOMAIN KEY           Remove only this value of the payload
    --relation OTHER            Remove only the relation that the payload declares to OTHER
    -y,--yes                    Do not ask
  Remove a setting, or all of a subdomain.
  Usage:
    veskdb remove pcd|cache DOMAIN SUBDOMAIN [KEY] [--yes]
  Positionals:
    DOMAIN REQUIRED             A 32-bit number
    SUBDOMAIN REQUIRED          Any text
    KEY                         Remove this setting alone, without asking
  Options:
    -y,--yes                    Do not ask
  Print payloads as lines of JSON.
  Usage:
    veskdb export pdb [ID]...
  Positionals:
    ID ...                      Only these payloads
  Print settings as lines of JSON.
  Usage:
    veskdb export pcd|cache
  Put payloads on record from lines of JSON, all or none.
  Usage:
    veskdb import pdb [FILE] [--replace]
  Positionals:
    FILE                        The lines; by default, or for '-', standard input
  Options:
    --replace                   Replace what is on record already, as a whole
  Put settings on record from lines of JSON, all or none.
  Usage:
    veskdb import pcd|cache [FILE] [--replace]
  Positionals:
    FILE                        The lines; by default, or for '-', standard input
  Options:
    --replace                   Replace what is on record already, as a whole
  Back up databases: pdb and vesk, or those named.
  Usage:
    veskdb backup [DB]... [--to FILE]
  Positionals:
    DB ...                      pdb, pcd, cache or vesk; pdb and vesk when none is named
  Options:
    --to FILE                   Back up one database to this file instead
  Write what can be read of a damaged database to a new one.
  Usage:
    veskdb salvage DB [--from FILE] --to FILE
  Positionals:
    DB REQUIRED                 pdb, pcd, cache or vesk
  Options:
    --from FILE                 Read this file instead of the live one
    --to FILE REQUIRED          The new file
  Roll back the unfinished change of a killed program.
  Usage:
    veskdb recover DB [--file FILE]
  Positionals:
    DB REQUIRED                 pdb, pcd, cache or vesk
  Options:
    --file FILE                 Recover this copy of the database instead
  $ veskdb show vesk -h | head -1
  Show all records of a payload or collection.
  $ veskdb --version | sed 's/[0-9]/N/g'
  veskdb NN.N
