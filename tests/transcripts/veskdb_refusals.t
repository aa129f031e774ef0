What veskdb refuses, and why. Nothing of it changes a file.

  $ . "$TESTDIR/machine.sh"
  $ make_machine
  $ veskdb add pdb RIVAL --family F --name N --version 1 --signature s --conflicts OLD
  $ find root -type f -exec sha256sum {} + | sort >before

Words.

  $ veskdb
  veskdb: the verb is missing; see veskdb --help
  [2]
  $ veskdb frob pdb | grep frob # then all forms, as in its help
  veskdb: the verb 'frob' is unknown; give one of these:
  [2]
  $ veskdb list
  veskdb: list needs a database:
    veskdb list pdb [--state installed|not-installed|all]
    veskdb list pcd|cache [DOMAIN] [SUBDOMAIN] [KEY]
    veskdb list vesk
    veskdb list actions [ID]
  [2]
  $ veskdb list ddb
  veskdb: the database 'ddb' is unknown; give pdb, pcd, cache or vesk
  [2]
  $ veskdb list pdb X
  veskdb: too many words: 'X'; the form is
    veskdb list pdb [--state installed|not-installed|all]
  [2]
  $ veskdb list pdb pcd
  veskdb: too many words: 'pcd'; the form is
    veskdb list pdb [--state installed|not-installed|all]
  [2]
  $ veskdb list pdb --yes
  veskdb: --yes does not go with this form:
    veskdb list pdb [--state installed|not-installed|all]
  [2]
  $ veskdb list pdb --frob=1
  veskdb: --frob is unknown; the form is:
    veskdb list pdb [--state installed|not-installed|all]
  [2]
  $ veskdb set vesk A --state installed
  veskdb: there is no set for vesk (the catalogue); there is:
    veskdb set pdb ID [--state installed|not-installed] [--conflicts ID]... [--upgrades ID]...
            [--relation TYPE OTHER] [--data DOMAIN KEY VALUE] [--value-from FILE]
    veskdb set pcd|cache DOMAIN SUBDOMAIN KEY [VALUE] [--value-from FILE]
  [2]
  $ veskdb remove vesk A
  veskdb: there is no remove for vesk (the catalogue); there is:
    veskdb remove pdb ID [--data DOMAIN KEY] [--relation OTHER] [--yes]
    veskdb remove pcd|cache DOMAIN SUBDOMAIN [KEY] [--yes]
  [2]
  $ veskdb list --state
  veskdb: list needs a database:
    veskdb list pdb [--state installed|not-installed|all]
    veskdb list pcd|cache [DOMAIN] [SUBDOMAIN] [KEY]
    veskdb list vesk
    veskdb list actions [ID]
  [2]
  $ veskdb list pdb --state none
  veskdb: --state 'none' is unknown; give installed, not-installed or all
  [2]
  $ veskdb set pdb OLD --state all
  veskdb: --state 'all' is unknown; give installed, not-installed
  [2]
  $ veskdb set pdb APP --state=
  veskdb: --state= has no value; give one after the '=', or '' as a word of its own
  [2]
  $ veskdb list pcd one
  veskdb: invalid domain 'one'; give a 32-bit number, such as 0
  [2]
  $ veskdb list pcd 2147483648
  veskdb: invalid domain '2147483648'; give a 32-bit number, such as 0
  [2]
  $ veskdb list pcd 1x
  veskdb: invalid domain '1x'; give a 32-bit number, such as 0
  [2]
  $ veskdb show pdb
  veskdb: too few words; the form is
    veskdb show pdb ID
  [2]
  $ veskdb find ''
  veskdb: the text to find is empty
  [2]
  $ veskdb find X ddb
  veskdb: the database 'ddb' is unknown; give pdb, pcd, cache or vesk
  [2]
  $ veskdb verify ddb
  veskdb: the database 'ddb' is unknown; give pdb, pcd, cache or vesk
  [2]
  $ veskdb graph pdb --depth 1
  veskdb: --depth needs the ID of a payload to start from
  [2]
  $ veskdb graph pdb APP --depth -1
  veskdb: invalid --depth '-1'; give a number of relations, such as 2
  [2]
  $ veskdb graph pdb APP --depth two
  veskdb: invalid --depth 'two'; give a number of relations, such as 2
  [2]
  $ veskdb graph pdb --format png
  veskdb: --format 'png' is unknown; give dot, mermaid or svg
  [2]
  $ veskdb diff pdb ''
  veskdb: '' is empty; give an absolute path, as seen from inside the root
  [2]
  $ veskdb diff pdb /a b
  veskdb: 'b' is relative; give an absolute path, as seen from inside the root
  [2]
  $ veskdb diff pdb /a /b /c
  veskdb: too many words: '/c'; the form is
    veskdb diff DB [A] [B]
  [2]

Changes.

  $ veskdb add pdb NEW --family F --name N --version 1
  veskdb: --signature is missing; the form is
    veskdb add pdb ID --family F --name N --version V --signature S [--conflicts ID]...
            [--upgrades ID]... [--relation TYPE OTHER] [--replace]
  [2]
  $ veskdb add pdb '' --family F --name N --version 1 --signature s
  veskdb: a payload's identifier cannot be empty
  [2]
  $ veskdb add pdb APP --family F --name N --version 1 --signature s
  veskdb: payload 'APP' is on record already; give --replace to replace it, which marks it not installed
  [2]
  $ veskdb add pdb A --family F --name N --version 1 --signature s --conflicts A
  veskdb: payload 'A' cannot be in conflict with itself
  [2]
  $ veskdb add pdb A --family F --name N --version 1 --signature s --conflicts B --upgrades B
  veskdb: payload 'B' is given with conflicts and with upgrades; it can have one relation, not both
  [2]
  $ veskdb set pdb APP
  veskdb: nothing to set; the form is
    veskdb set pdb ID [--state installed|not-installed] [--conflicts ID]... [--upgrades ID]...
            [--relation TYPE OTHER] [--data DOMAIN KEY VALUE] [--value-from FILE]
  [2]
  $ veskdb set pdb APP --data 0 KEY
  veskdb: --data needs DOMAIN KEY VALUE
  [2]
  $ veskdb set pdb APP --data -1 K V
  veskdb: invalid domain '-1' of payload data; give a number from 0 to 5
  [2]
  $ veskdb set pdb APP --data 6 K V
  veskdb: invalid domain '6' of payload data; give a number from 0 to 5
  [2]
  $ veskdb set pdb APP --data 0 K V --data 0 L W
  veskdb: --data can be given once; repeat the command for another value
  [2]
  $ veskdb set pdb NONE --state installed
  veskdb: payload 'NONE': kVeskNotFound (8), it does not exist
  [1]
  $ veskdb set pdb NONE --data 0 K V
  veskdb: payload 'NONE': kVeskNotFound (8), it does not exist
  [1]
  $ veskdb set pdb OLD --state installed
  veskdb: payload 'OLD' cannot be marked: it is in conflict with 'RIVAL': kVeskConflict (16), a payload in conflict with it is on record
  [2]
  $ veskdb set pdb OLD --relation conflicts OLD
  veskdb: payload 'OLD' cannot be in conflict with itself
  [2]
  $ veskdb set pdb OLD --relation likes APP
  veskdb: the type of relation 'likes' is unknown; give conflicts, upgrades, requires, required, critical, recommended, load-patch, load-lang-pack
  [2]
  $ veskdb set pdb OLD --relation likes
  veskdb: --relation needs TYPE OTHER
  [2]
  $ veskdb set pdb OLD --value-from /none
  veskdb: --value-from needs --data DOMAIN KEY
  [2]
  $ veskdb set pdb OLD --data 0 K --value-from ''
  veskdb: --value-from has an empty value; give the path of a file
  [2]
  $ veskdb set pcd 1 a
  veskdb: too few words; the form is
    veskdb set pcd|cache DOMAIN SUBDOMAIN KEY [VALUE] [--value-from FILE]
  [2]
  $ veskdb set pcd 1 a b
  veskdb: too few words; the form is
    veskdb set pcd|cache DOMAIN SUBDOMAIN KEY [VALUE] [--value-from FILE]
  [2]
  $ veskdb set pcd 1 a b c d
  veskdb: too many words: 'd'; the form is
    veskdb set pcd|cache DOMAIN SUBDOMAIN KEY [VALUE] [--value-from FILE]
  [2]
  $ veskdb set pcd 1 a b c --value-from /none
  veskdb: give VALUE or --value-from, not both; the form is
    veskdb set pcd|cache DOMAIN SUBDOMAIN KEY [VALUE] [--value-from FILE]
  [2]
  $ veskdb set pcd 1 a b --value-from none
  veskdb: --value-from 'none' is relative; give an absolute path, as seen from inside the root
  [2]
  $ veskdb set pcd 1 a b --value-from /none
  veskdb: '/none': No such file or directory
  [2]
  $ printf 'a\0b' | veskdb set pcd 1 a b --value-from -
  veskdb: --value-from standard input: it holds a NUL byte, at which a value ends; give it in another form
  [2]
  $ veskdb remove pdb NONE --yes
  veskdb: payload 'NONE': kVeskNotFound (8), it does not exist
  [1]
  $ veskdb remove pdb APP </dev/null
  veskdb: Remove payload 'APP' and, with it, what it has upgraded: 'OLD'? There is no terminal to ask on; give --yes
  [2]
  $ veskdb remove pdb APP --relation OLD </dev/null
  veskdb: Remove payload 'APP', its relation to 'OLD' (upgrades)? There is no terminal to ask on; give --yes
  [2]
  $ veskdb remove pdb ANTI --relation APP </dev/null
  veskdb: Remove payload 'ANTI', its relation to 'APP' (conflicts)? There is no terminal to ask on; give --yes
  [2]
  $ veskdb remove pdb APP --relation NONE --yes
  veskdb: payload 'APP', its relation to 'NONE': kVeskNotFound (8), it does not exist
  [1]
  $ veskdb remove pdb APP --data 0 INSTALLDIR </dev/null
  veskdb: Remove payload 'APP', data 0 'INSTALLDIR'? There is no terminal to ask on; give --yes
  [2]
  $ veskdb remove pdb APP --data 0 NONE --yes
  veskdb: payload 'APP', data 0 'NONE': kVeskNotFound (8), it does not exist
  [1]
  $ veskdb remove pdb APP --data 0 INSTALLDIR --relation OLD --yes
  veskdb: give --data or --relation, not both; repeat the command for the other
  [2]
  $ veskdb remove pcd 1 '{E2B9}' none
  veskdb: setting 1 '{E2B9}' 'none': kVeskNotFound (8), it does not exist
  [1]
  $ veskdb remove pcd 1 '{E2B9}' </dev/null
  veskdb: Remove every key of domain 1, subdomain '{E2B9}'? There is no terminal to ask on; give --yes
  [2]
  $ veskdb remove pcd 1 none --yes
  veskdb: Remove every key of domain 1, subdomain 'none'? Yes
  veskdb: setting 1 'none' '*': kVeskNotFound (8), it does not exist
  [1]

Files.

  $ veskdb backup pcd
  veskdb: pcd has no backup of its own; give --to FILE
  [2]
  $ veskdb backup ddb
  veskdb: the database 'ddb' is unknown; give pdb, pcd, cache or vesk
  [2]
  $ veskdb backup --to /copy
  veskdb: --to FILE takes the copy of one database; name that one
  [2]
  $ veskdb backup pdb vesk --to /copy
  veskdb: --to FILE takes the copy of one database; name that one
  [2]
  $ veskdb backup pcd --to copy
  veskdb: --to 'copy' is relative; give an absolute path, as seen from inside the root
  [2]
  $ veskdb backup pcd --to ''
  veskdb: --to has an empty value; give the path of a file
  [2]
  $ for target in vesk/pdb.db vesk/vesk.db backup/vesk.db; do veskdb backup pdb --to "/Library/Application Support/Zelko/$target"; done
  veskdb: --to '/Library/Application Support/Zelko/vesk/pdb.db' is the payload database itself; give the path of a new file
  veskdb: --to '/Library/Application Support/Zelko/vesk/vesk.db' is the catalogue itself; give the path of a new file
  veskdb: --to '/Library/Application Support/Zelko/backup/vesk.db' is the catalogue itself, its backup; give the path of a new file
  [2]
  $ veskdb restore
  veskdb: too few words; the form is
    veskdb restore DB [--from FILE] [--yes]
  [2]
  $ veskdb restore cache --yes
  veskdb: cache has no backup of its own; give --from FILE
  [2]
  $ veskdb restore pdb </dev/null
  veskdb: Replace the payload database, '/Library/Application Support/Zelko/vesk/pdb.db', by '/Library/Application Support/Zelko/backup/pdb.db' of 2023-11-14T22:13:20Z? There is no terminal to ask on; give --yes
  [2]
  $ veskdb restore pdb --yes=
  veskdb: --yes= has no value; give one after the '=', or '' as a word of its own
  [2]
  $ veskdb restore pdb --from /none --yes
  veskdb: the copy '/none': kVeskNotFound (8), it does not exist
  [1]
  $ veskdb recover
  veskdb: too few words; the form is
    veskdb recover DB [--file FILE]
  [2]
  $ veskdb recover pdb --file /none
  veskdb: the payload database, '/none': kVeskNotFound (8), it does not exist
  [1]
  $ veskdb salvage pdb
  veskdb: --to is missing; the form is
    veskdb salvage DB [--from FILE] --to FILE
  [2]
  $ veskdb salvage pdb --from /none --to /copy
  veskdb: '/none': kVeskNotFound (8), it does not exist
  [1]
  $ veskdb salvage pdb --from /Library --to /copy
  veskdb: '/Library': it is not a file
  [1]
  $ veskdb salvage pdb --to /Library
  veskdb: --to '/Library' exists already; give the path of a new file
  [2]
  $ veskdb salvage pdb --to "${vesk#$root}"
  veskdb: --to '/Library/Application Support/Zelko/vesk/vesk.db' exists already; give the path of a new file
  [2]
  $ "$VESKDB" --root /none verify
  veskdb: root '/none': no such folder; create it first or give an existing one
  [2]

Lines to import.

  $ record='"productFamily":"F","productName":"N","version":"1","signature":"s","installState":0,"payload_data":[],"upgraded_payloads":[]'
  $ import() { echo "$1" | veskdb import "${@:2}"; }
  $ import '{}' pdb
  veskdb: standard input, line 1: "PayloadID" is missing; nothing was changed
  [2]
  $ import '[]' pdb
  veskdb: standard input, line 1: it is no JSON object; nothing was changed
  [2]
  $ import '{' pdb
  veskdb: standard input, line 1: it is no JSON object; nothing was changed
  [2]
  $ import "{\"PayloadID\":\"A\",$record}" pdb
  veskdb: standard input, line 1: "dependencies" is missing; nothing was changed
  [2]
  $ import "{\"PayloadID\":\"A\",\"dependencies\":{},$record}" pdb
  veskdb: standard input, line 1: "dependencies" is no list; nothing was changed
  [2]
  $ import "{\"PayloadID\":\"A\",\"dependencies\":[1],$record}" pdb
  veskdb: standard input, line 1: a list holds something other than objects; nothing was changed
  [2]
  $ import "{\"PayloadID\":\"A\",\"dependencies\":[{\"type\":0,\"PayloadIDb\":1}],$record}" pdb
  veskdb: standard input, line 1: "PayloadIDb" is no text; give a text, or an object with "hex"; nothing was changed
  [2]
  $ import "{\"PayloadID\":\"A\",\"dependencies\":[{\"type\":0.5,\"PayloadIDb\":\"B\"}],$record}" pdb
  veskdb: standard input, line 1: "type" is no such number; give a 32-bit number; nothing was changed
  [2]
  $ import "{\"PayloadID\":\"A\",\"dependencies\":[{\"type\":null,\"PayloadIDb\":\"B\"}],$record}" pdb
  veskdb: standard input, line 1: "type" is null; give a 32-bit number; nothing was changed
  [2]
  $ import "{\"PayloadID\":\"A\",\"dependencies\":[{\"type\":2147483648,\"PayloadIDb\":\"B\"}],$record}" pdb
  veskdb: standard input, line 1: "type" is no such number; give a 32-bit number; nothing was changed
  [2]
  $ import "{\"PayloadID\":\"A\",\"dependencies\":[{\"type\":9,\"PayloadIDb\":\"B\"}],$record}" pdb
  veskdb: payload 'A', dependencies: kVeskInvalidArgument (10), a value is out of range
  [2]
  $ import "{\"PayloadID\":\"A\",\"dependencies\":[],\"state\":0,$record}" pdb
  veskdb: standard input, line 1: "state" is unknown; give PayloadID, dependencies, installState, payload_data, productFamily, productName, signature, upgraded_payloads, version; nothing was changed
  [2]
  $ import "{\"PayloadID\":\"\",\"dependencies\":[],$record}" pdb
  veskdb: standard input, line 1: a payload's identifier cannot be empty; nothing was changed
  [2]
  $ import "{\"PayloadID\":null,\"dependencies\":[],$record}" pdb
  veskdb: standard input, line 1: "PayloadID" is null; give a text, or an object with "hex"; nothing was changed
  [2]
  $ import "{\"PayloadID\":{\"hex\":\"6100\"},\"dependencies\":[],$record}" pdb
  veskdb: standard input, line 1: "PayloadID" holds a NUL byte, at which a text ends; nothing was changed
  [2]
  $ import "{\"PayloadID\":{\"hex\":\"61F\"},\"dependencies\":[],$record}" pdb
  veskdb: standard input, line 1: "hex" of "PayloadID" is not two hexadecimal digits for each byte; nothing was changed
  [2]
  $ import "{\"PayloadID\":{\"hex\":\"6G\"},\"dependencies\":[],$record}" pdb
  veskdb: standard input, line 1: "hex" of "PayloadID" is not two hexadecimal digits for each byte; nothing was changed
  [2]
  $ import "{\"PayloadID\":{\"hex\":61},\"dependencies\":[],$record}" pdb
  veskdb: standard input, line 1: "PayloadID" is no text; give a text, or an object with "hex"; nothing was changed
  [2]
  $ import "{\"PayloadID\":\"APP\",\"dependencies\":[],$record}" pdb
  veskdb: standard input, line 1: payload 'APP' is on record already; give --replace to replace it as a whole; nothing was changed
  [2]
  $ printf '\n\n%s\n%s\n' "{\"PayloadID\":\"A\",\"dependencies\":[],$record}" "{\"PayloadID\":\"A\",\"dependencies\":[],$record}" | veskdb import pdb -
  veskdb: standard input, line 4: payload 'A' has a line already; nothing was changed
  [2]
  $ veskdb export pdb APP | sed 's/"installState":2/"installState":3/' | veskdb import pdb --replace
  veskdb: payload 'APP', installState 3: kVeskInvalidArgument (10), a value is out of range
  [2]
  $ veskdb export pdb APP | veskdb import pdb --replace
  veskdb: payload 'APP', installState 2: it is in conflict with 'ANTI': kVeskConflict (16), a payload in conflict with it is on record
  [2]
  $ import '{"domain":2147483648,"subDomain":"s","key":"k","value":"v"}' pcd
  veskdb: standard input, line 1: "domain" is no such number; give a 32-bit number; nothing was changed
  [2]
  $ import '{"domain":-2147483649,"subDomain":"s","key":"k","value":"v"}' cache
  veskdb: standard input, line 1: "domain" is no such number; give a 32-bit number; nothing was changed
  [2]
  $ import '{"domain":2,"subDomain":"s","key":"k","value":"v"}' pcd
  veskdb: standard input, line 1: setting 2 's' 'k' is on record already; give --replace to replace it; nothing was changed
  [2]
  $ import '{"domain":2,"subDomain":"s","key":"k"}' pcd
  veskdb: standard input, line 1: "value" is missing; nothing was changed
  [2]
  $ import '{"domain":2,"subDomain":"s","key":"k","value":"v","x":1}' pcd
  veskdb: standard input, line 1: "x" is unknown; give domain, key, subDomain, value; nothing was changed
  [2]
  $ veskdb import pcd /none
  veskdb: '/none': No such file or directory
  [2]
  $ veskdb import pcd ''
  veskdb: FILE has an empty value; give the path of a file
  [2]
  $ veskdb import pcd /Library
  veskdb: '/Library': Is a directory
  [2]

  $ find root -type f -exec sha256sum {} + | sort | diff before -

Relations of types that are not the library's.

  $ sqlite3 "$pdb" "INSERT INTO dependencies VALUES('APP', 'EIGHT', 8), ('APP', 'LESS', -1)"
  $ for other in EIGHT LESS; do veskdb remove pdb APP --relation $other </dev/null; done
  veskdb: Remove payload 'APP', its relation to 'EIGHT' (8)? There is no terminal to ask on; give --yes
  veskdb: Remove payload 'APP', its relation to 'LESS' (-1)? There is no terminal to ask on; give --yes
  [2]
  $ veskdb graph pdb APP | grep -e '"8"' -e -1
    n2 -> n3 [label="8"];
    n2 -> n5 [label="-1"];
