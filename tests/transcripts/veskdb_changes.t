Changes of records, and what they leave.

  $ . "$TESTDIR/machine.sh"
  $ make_machine
  $ records() { sqlite3 "$pdb" "SELECT PayloadID, productName, version, installState FROM payloads; SELECT * FROM dependencies; SELECT * FROM payload_data; SELECT * FROM upgraded_payloads"; }

Payloads.

  $ veskdb add --replace pdb APP --family F2 --name N2 --version 13 --signature '' --relation load-lang-pack LANG --conflicts RIVAL
  $ veskdb set pdb OLD --state installed --data 3 K -value --relation requires LIB
  $ veskdb set pdb OLD --data 0 K --value-from - <<<'two
  > lines'
  $ veskdb set pdb -- OLD --state
  veskdb: --state does not go with this form:
    veskdb set pdb ID [--state installed|not-installed] [--conflicts ID]... [--upgrades ID]...
            [--relation TYPE OTHER] [--data DOMAIN KEY VALUE] [--value-from FILE]
  [2]
  $ records
  OLD|Old|11.0|2
  ANTI|R "1"|1|0
  APP|N2|13|0
  OLD|NOWHERE|0
  APP|OLD|1
  ANTI|GONE|2
  ANTI|APP|0
  APP|LANG|7
  APP|RIVAL|0
  OLD|LIB|2
  APP|0|INSTALLDIR|/Applications/Fendrial
  APP|3|raw|a\xff (esc)
  
  OLD|3|K|-value
  OLD|0|K|two
  lines
  
  OLD|APP
  $ veskdb remove pdb OLD --relation LIB --yes
  veskdb: Remove payload 'OLD', its relation to 'LIB' (requires)? Yes
  $ veskdb remove --data 3 K pdb OLD --yes
  veskdb: Remove payload 'OLD', data 3 'K'? Yes
  $ veskdb set pdb OLD --state not-installed
  $ records
  OLD|Old|11.0|0
  ANTI|R "1"|1|0
  APP|N2|13|0
  OLD|NOWHERE|0
  APP|OLD|1
  ANTI|GONE|2
  ANTI|APP|0
  APP|LANG|7
  APP|RIVAL|0
  APP|0|INSTALLDIR|/Applications/Fendrial
  APP|3|raw|a\xff (esc)
  
  OLD|0|K|two
  lines
  
  OLD|APP
  $ veskdb remove pdb ANTI -y
  veskdb: Remove payload 'ANTI'? Yes
  $ veskdb remove pdb APP --yes
  veskdb: Remove payload 'APP' and, with it, what it has upgraded: 'OLD'? Yes
  $ records
  OLD|APP

Settings.

  $ veskdb set pcd 1 '{E2B9}' second 2
  $ veskdb set pcd 1 '{E2B9}' second ''
  $ veskdb remove pcd 1 '{E2B9}' DefaultDriverPayload
  $ veskdb list pcd
  1|{E2B9}|second|
  2|s|k|v
  10|s|k|v
  $ veskdb set pcd 1 '{E2B9}' third 3
  $ veskdb remove pcd 1 '{E2B9}' --yes
  veskdb: Remove every key of domain 1, subdomain '{E2B9}'? Yes
  $ veskdb list pcd
  2|s|k|v
  10|s|k|v

What was exported can be imported again, into the same records or into none.

  $ make_machine
  $ veskdb set pdb OLD --data 1 more x --relation critical LIB
  $ veskdb export pdb >pdb.jsonl
  $ veskdb export pcd >root/pcd.jsonl
  $ sqlite3 "$pdb" "INSERT INTO upgraded_payloads VALUES('GONE', 'OLD'); INSERT INTO payload_data VALUES('OLD', 2, 'extra', 'y');
  >   INSERT INTO dependencies VALUES('OLD', 'EXTRA', 3); DELETE FROM dependencies WHERE type = 0"
  $ veskdb import pdb --replace <pdb.jsonl
  $ veskdb import pcd /pcd.jsonl --replace
  $ veskdb export pdb | diff pdb.jsonl -
  $ rm -r root/Library
  $ veskdb import pdb <pdb.jsonl
  $ veskdb import pcd /pcd.jsonl
  $ veskdb export pdb | diff pdb.jsonl -
  $ veskdb export pcd | diff root/pcd.jsonl -

What import could not write is not exported.

  $ sqlite3 "$pdb" "UPDATE payloads SET productName = NULL WHERE PayloadID = 'APP'"
  $ veskdb export pdb
  veskdb: payload 'APP': its productName is null, which import could not write
  [2]
  $ sqlite3 "$pdb" "UPDATE payloads SET productName = CAST(x'6100' AS TEXT) WHERE PayloadID = 'APP'"
  $ veskdb export pdb
  veskdb: payload 'APP': its productName is a value with a NUL byte, which import could not write
  [2]
  $ sqlite3 "$pdb" "UPDATE payloads SET productName = '', installState = 2147483648 WHERE PayloadID = 'APP'"
  $ veskdb export pdb
  veskdb: payload 'APP': its installState is '2147483648', no 32-bit number, which import could not write
  [2]

The catalogue's backup may not succeed after a commit.

  $ rm -r root/Library
  $ make_machine
  $ rm "$zelko/backup/vesk.db" && mkdir "$zelko/backup/vesk.db"
  $ veskdb set pdb OLD --data 1 more x
  veskdb: the change was made, but the catalogue's backup is incomplete; when there is room, run: veskdb --root 'ROOT' backup vesk
