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
  $ for verb in graph set remove verify restore;
  > do veskdb $verb --help; done
  Draw payloads and their relations.
  
  Usage:
    veskdb graph pdb [ID] [--depth N] [--format dot|mermaid|svg]
  
  Positionals:
    ID                          Only payloads that relations connect with this one
  
  Common options:
    -h,--help                   Print this help message and exit
    --root DIR                  Enter this folder as the root first; FILEs are inside it
    --json                      Print one JSON document
  
  Options:
    --depth N                   Only payloads at most this many relations away from ID
    --format dot|mermaid|svg    The format of the picture, dot by default; svg needs Graphviz
  
  
  Mark a payload, or store a value for it.
  
  Usage:
    veskdb set pdb ID [--state installed|not-installed] [--conflicts ID]... [--upgrades ID]...
            [--relation TYPE OTHER] [--data DOMAIN KEY VALUE] [--value-from FILE]
  
  Positionals:
    ID REQUIRED                 Of the payload
  
  Common options:
    -h,--help                   Print this help message and exit
    --root DIR                  Enter this folder as the root first; FILEs are inside it
    --json                      Print one JSON document
  
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
  
  Common options:
    -h,--help                   Print this help message and exit
    --root DIR                  Enter this folder as the root first; FILEs are inside it
    --json                      Print one JSON document
  
  Options:
    --value-from FILE           Read the value from this file instead, byte for byte; '-' is standard input
  
  
  Remove a payload, and what it has upgraded.
  
  Usage:
    veskdb remove pdb ID [--data DOMAIN KEY] [--relation OTHER] [--yes]
  
  Positionals:
    ID REQUIRED                 Of the payload
  
  Common options:
    -h,--help                   Print this help message and exit
    --root DIR                  Enter this folder as the root first; FILEs are inside it
    --json                      Print one JSON document
  
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
  
  Common options:
    -h,--help                   Print this help message and exit
    --root DIR                  Enter this folder as the root first; FILEs are inside it
    --json                      Print one JSON document
  
  Options:
    -y,--yes                    Do not ask
  
  
  Check databases and backups and report every fault.
  
  Usage:
    veskdb verify [DB]...
  
  Positionals:
    DB ...                      pdb, pcd, cache or vesk; all when none is named
  
  Common options:
    -h,--help                   Print this help message and exit
    --root DIR                  Enter this folder as the root first; FILEs are inside it
    --json                      Print one JSON document
  
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
  
  $ veskdb show vesk -h
  Show all records of a payload or collection.
  
  Usage:
    veskdb show vesk ID
  
  Positionals:
    ID REQUIRED                 Of the payload or collection
  
  Common options:
    -h,--help                   Print this help message and exit
    --root DIR                  Enter this folder as the root first; FILEs are inside it
    --json                      Print one JSON document
  
  $ veskdb --version | sed 's/[0-9]/N/g'
  veskdb NN.N
