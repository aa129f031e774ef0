Every way to read the records of a machine.

  $ . "$TESTDIR/machine.sh"
  $ make_machine

Lists.

  $ veskdb list pdb
  not-installed|ANTI|1|F|R "1"|1970-01-01T00:00:01Z
  not-installed|OLD|11.0|Halvorick|Old|2009-02-13T23:31:30Z
  installed|APP|12.0|Halvorick|Fendrial 12 Tessarine|2023-11-14T22:13:20Z
  $ veskdb list pdb --state installed
  installed|APP|12.0|Halvorick|Fendrial 12 Tessarine|2023-11-14T22:13:20Z
  $ veskdb list pdb --state not-installed --json
  [
    {
      "installState": 0,
      "PayloadID": "ANTI",
      "version": "1",
      "productFamily": "F",
      "productName": "R \"1\"",
      "installTime": 1,
      "signature": "s"
    },
    {
      "installState": 0,
      "PayloadID": "OLD",
      "version": "11.0",
      "productFamily": "Halvorick",
      "productName": "Old",
      "installTime": 1234567890,
      "signature": ""
    }
  ]
  $ veskdb list --state all pdb
  not-installed|ANTI|1|F|R "1"|1970-01-01T00:00:01Z
  not-installed|OLD|11.0|Halvorick|Old|2009-02-13T23:31:30Z
  installed|APP|12.0|Halvorick|Fendrial 12 Tessarine|2023-11-14T22:13:20Z
  $ veskdb list pcd
  1|{E2B9}|DefaultDriverPayload|{E2B9}
  2|s|k|v
  10|s|k|v
  $ veskdb list pcd 1
  1|{E2B9}|DefaultDriverPayload|{E2B9}
  $ veskdb list pcd 2 s k
  2|s|k|v
  $ veskdb list pcd 2 s none
  veskdb: setting 2 's' 'none': kVeskNotFound (8), it does not exist
  [1]
  $ veskdb list pcd 3 s
  $ veskdb list cache --json
  [
    {
      "domain": "-1",
      "subDomain": "sub",
      "key": "tab\there",
      "value": "-v"
    }
  ]
  $ veskdb list vesk
  dolm_payload|P|1|F|N|s
  dolm_collection|C|P|1970-01-01T00:00:05Z|1970-01-01T00:00:06Z
  dolm_collection_payload|C|P|not-installed|1970-01-01T00:00:07Z
  $ veskdb list actions
  APP|ann|2023-11-14T22:13:20Z
  $ veskdb list actions NONE --json
  []
  $ terminal list pdb
  STATE          ID    VERSION  FAMILY     NAME                   CHANGED
  not-installed  ANTI  1        F          R "1"                  1970-01-01T00:00:01Z
  not-installed  OLD   11.0     Halvorick  Old                    2009-02-13T23:31:30Z
  installed      APP   12.0     Halvorick  Fendrial 12 Tessarine  2023-11-14T22:13:20Z
  $ terminal list vesk
  dolm_payload
    payloadID  version  productFamily  productName  signature
    P          1        F              N            s
  dolm_collection
    collectionID  collectionPayloadID  tsInstalled           tsModified
    C             P                    1970-01-01T00:00:05Z  1970-01-01T00:00:06Z
  dolm_collection_payload
    collectionID  payloadID  installState   tsInstalled
    C             P          not-installed  1970-01-01T00:00:07Z

Single records.

  $ veskdb show pdb APP
  payloads|PayloadID|APP
  payloads|productFamily|Halvorick
  payloads|productName|Fendrial 12 Tessarine
  payloads|version|12.0
  payloads|signature|s
  payloads|installState|installed
  payloads|installTime|2023-11-14T22:13:20Z
  dependencies|ANTI|APP|0|Conflicts
  dependencies|APP|OLD|1|Upgrades
  upgraded_payloads|OLD|APP
  payload_data|0|INSTALLDIR|/Applications/Fendrial
  payload_data|3|raw|a\xff\\n (esc)
  user_actions|APP|ann|2023-11-14T22:13:20Z
  $ veskdb show pdb APP --json
  {
    "payloads": {
      "PayloadID": "APP",
      "productFamily": "Halvorick",
      "productName": "Fendrial 12 Tessarine",
      "version": "12.0",
      "signature": "s",
      "installState": 2,
      "installTime": 1700000000
    },
    "dependencies": [
      {
        "PayloadID": "ANTI",
        "PayloadIDb": "APP",
        "type": 0,
        "description": "Conflicts"
      },
      {
        "PayloadID": "APP",
        "PayloadIDb": "OLD",
        "type": 1,
        "description": "Upgrades"
      }
    ],
    "upgraded_payloads": [
      {
        "payloadIDOriginal": "OLD",
        "payloadIDUpgraded": "APP"
      }
    ],
    "payload_data": [
      {
        "domain": "0",
        "key": "INSTALLDIR",
        "value": "/Applications/Fendrial"
      },
      {
        "domain": "3",
        "key": "raw",
        "value": "a\xef\xbf\xbd\\n", (esc)
        "hex": {
          "value": "61FF0A"
        }
      }
    ],
    "user_actions": [
      {
        "product_id": "APP",
        "actor": "ann",
        "time_action": "1700000000"
      }
    ]
  }
  $ terminal show pdb APP
  payloads
    PayloadID      APP
    productFamily  Halvorick
    productName    Fendrial 12 Tessarine
    version        12.0
    signature      s
    installState   installed
    installTime    2023-11-14T22:13:20Z
  dependencies
    PayloadID  PayloadIDb  type  description
    ANTI       APP         0     Conflicts
    APP        OLD         1     Upgrades
  upgraded_payloads
    payloadIDOriginal  payloadIDUpgraded
    OLD                APP
  payload_data
    domain  key         value
    0       INSTALLDIR  /Applications/Fendrial
    3       raw         a\xff\\n (esc)
  user_actions
    product_id  actor  time_action
    APP         ann    2023-11-14T22:13:20Z
  $ veskdb show pdb NONE
  veskdb: payload 'NONE': kVeskNotFound (8), it does not exist
  [1]
  $ veskdb show vesk P
  dolm_payload|payloadID|P
  dolm_payload|productFamily|F
  dolm_payload|productName|N
  dolm_payload|version|1
  dolm_payload|signature|s
  dolm_collection_payload|C|P|not-installed|1970-01-01T00:00:07Z
  dolm_payload_constraint|P|Q|3
  payload_data|P|1|K|V
  $ veskdb show vesk C
  dolm_collection|collectionID|C
  dolm_collection|collectionPayloadID|P
  dolm_collection|tsInstalled|1970-01-01T00:00:05Z
  dolm_collection|tsModified|1970-01-01T00:00:06Z
  dolm_collection_payload|C|P|not-installed|1970-01-01T00:00:07Z
  collection_data|C|2|K|V
  $ veskdb show vesk P --json
  {
    "dolm_payload": {
      "payloadID": "P",
      "productFamily": "F",
      "productName": "N",
      "version": "1",
      "signature": "s"
    },
    "dolm_collection": null,
    "dolm_collection_payload": [
      {
        "collectionID": "C",
        "payloadID": "P",
        "installState": 0,
        "tsInstalled": 7
      }
    ],
    "dolm_payload_constraint": [
      {
        "payloadID": "P",
        "payloadIDb": "Q",
        "constraintType": 3
      }
    ],
    "upgraded_payloads": [],
    "collection_data": [],
    "payload_data": [
      {
        "payloadID": "P",
        "domain": "1",
        "key": "K",
        "value": "V"
      }
    ]
  }
  $ veskdb show vesk NONE
  veskdb: payload or collection 'NONE': kVeskNotFound (8), it does not exist
  [1]
  $ veskdb why pdb APP
  payload|PayloadID|APP
  payload|installState|installed
  payload|can be marked installed|false
  payload|reason|in conflict with it and on record, in any state: 'ANTI'
  conflicts|ANTI|APP|true|not-installed
  upgrades|APP|OLD|true|not-installed
  upgraded_payloads|OLD|APP
  removed_with_it|APP|installed|1|2
  removed_with_it|OLD|not-installed|1|0
  [1]
  $ veskdb why pdb OLD
  payload|PayloadID|OLD
  payload|installState|not-installed
  payload|can be marked installed|true
  payload|reason|no payload in conflict with it is on record
  conflicts|OLD|NOWHERE|false|\N
  upgrades|APP|OLD|true|installed
  upgraded_payloads|OLD|APP
  removed_with_it|OLD|not-installed|1|0
  $ veskdb why pdb OLD --json | head -7
  {
    "payload": {
      "PayloadID": "OLD",
      "installState": 0,
      "installable": true,
      "reason": "no payload in conflict with it is on record"
    },
  $ veskdb why pdb NONE
  veskdb: payload 'NONE': kVeskNotFound (8), it does not exist
  [1]

Searches.

  $ veskdb find E2B9
  pcd|domain_data|1/{E2B9}/DefaultDriverPayload|subDomain
  pcd|domain_data|1/{E2B9}/DefaultDriverPayload|value
  $ veskdb find Tessarine pdb
  pdb|payloads|APP|productName
  $ veskdb find Tessarine vesk pcd
  [1]
  $ veskdb find 17000 --json
  [
    {
      "database": "pdb",
      "table": "payloads",
      "key": "APP",
      "column": "installTime"
    },
    {
      "database": "pdb",
      "table": "user_actions",
      "key": "APP",
      "column": "time_action"
    }
  ]
  $ veskdb find %
  [1]

Databases.

  $ veskdb info
  pdb|path|/Library/Application Support/Zelko/vesk/pdb.db
  pdb|present|true
  pdb|size|53248
  pdb|owner|0:80
  pdb|mode|0644
  pdb|modified|2023-11-14T22:13:20Z
  pdb|schema version|1
  pdb|usable from version|1
  pdb|rows|payloads 3, dependencies 4, payload_data 2, upgraded_payloads 1, user_actions 1
  pdb|unreadable|\N
  pdb|backup|/Library/Application Support/Zelko/backup/pdb.db
  pdb|backup made|2023-11-14T22:13:20Z
  pcd|path|/Library/Application Support/Zelko/Zelko PCD/pcd.db
  pcd|present|true
  pcd|size|77824
  pcd|owner|0:80
  pcd|mode|0644
  pcd|modified|2023-11-14T22:13:20Z
  pcd|schema version|1
  pcd|usable from version|1
  pcd|rows|dolm_payload 0, dolm_collection 0, dolm_collection_payload 0, dolm_payload_constraint 0, collection_data 0, payload_data 0, domain_data 3
  pcd|unreadable|\N
  pcd|backup|\N
  pcd|backup made|\N
  cache|path|/Library/Application Support/Zelko/Zelko PCD/cache/cache.db
  cache|present|true
  cache|size|20480
  cache|owner|0:80
  cache|mode|0666
  cache|modified|2023-11-14T22:13:20Z
  cache|schema version|1
  cache|usable from version|1
  cache|rows|domain_data 1
  cache|unreadable|\N
  cache|backup|\N
  cache|backup made|\N
  vesk|path|/Library/Application Support/Zelko/vesk/vesk.db
  vesk|present|true
  vesk|size|77824
  vesk|owner|0:80
  vesk|mode|0644
  vesk|modified|2023-11-14T22:13:20Z
  vesk|schema version|2
  vesk|usable from version|1
  vesk|rows|dolm_payload 1, dolm_collection 1, dolm_collection_payload 1, dolm_payload_constraint 1, collection_data 1, payload_data 1, upgraded_payloads 0
  vesk|unreadable|\N
  vesk|backup|/Library/Application Support/Zelko/backup/vesk.db
  vesk|backup made|2023-11-14T22:13:20Z
  $ veskdb info --json | head -20
  {
    "pdb": {
      "path": "/Library/Application Support/Zelko/vesk/pdb.db",
      "present": true,
      "size": 53248,
      "owner": "0:80",
      "mode": "0644",
      "modified": 1700000000,
      "schema_version": "1",
      "schema_compatibility_version": "1",
      "rows": {
        "payloads": 3,
        "dependencies": 4,
        "payload_data": 2,
        "upgraded_payloads": 1,
        "user_actions": 1
      },
      "unreadable": null,
      "backup": "/Library/Application Support/Zelko/backup/pdb.db",
      "backup_modified": 1700000000
  $ terminal info | head -20
  pdb
    path                 /Library/Application Support/Zelko/vesk/pdb.db
    present              true
    size                 53248
    owner                0:80
    mode                 0644
    modified             2023-11-14T22:13:20Z
    schema version       1
    usable from version  1
    rows                 payloads 3, dependencies 4, payload_data 2, upgraded_payloads 1, user_actions 1
    backup               /Library/Application Support/Zelko/backup/pdb.db
    backup made          2023-11-14T22:13:20Z
  pcd
    path                 /Library/Application Support/Zelko/Zelko PCD/pcd.db
    present              true
    size                 77824
    owner                0:80
    mode                 0644
    modified             2023-11-14T22:13:20Z
    schema version       1
  $ veskdb verify
  note|pdb|/Library/Application Support/Zelko/vesk/pdb.db|2 relations to payloads that are not on record|
  ok|pdb|/Library/Application Support/Zelko/vesk/pdb.db|sound|
  note|pdb|/Library/Application Support/Zelko/backup/pdb.db|2 relations to payloads that are not on record|
  ok|pdb|/Library/Application Support/Zelko/backup/pdb.db|sound|
  ok|pcd|/Library/Application Support/Zelko/Zelko PCD/pcd.db|sound|
  ok|cache|/Library/Application Support/Zelko/Zelko PCD/cache/cache.db|sound|
  ok|vesk|/Library/Application Support/Zelko/vesk/vesk.db|sound|
  ok|vesk|/Library/Application Support/Zelko/backup/vesk.db|sound|
  $ veskdb verify --json cache vesk | head -8
  [
    {
      "result": "ok",
      "database": "cache",
      "file": "/Library/Application Support/Zelko/Zelko PCD/cache/cache.db",
      "finding": "sound",
      "next": ""
    },
  $ terminal verify cache pcd
  RESULT  DB     FILE                                                         FINDING  NEXT STEP
  ok      pcd    /Library/Application Support/Zelko/Zelko PCD/pcd.db          sound
  ok      cache  /Library/Application Support/Zelko/Zelko PCD/cache/cache.db  sound

Differences from a copy, and from another root.

  $ veskdb diff pdb
  $ cp "$pdb" root/other.db
  $ sqlite3 root/other.db "UPDATE payloads SET installState = 7 WHERE PayloadID = 'APP';
  >   UPDATE payloads SET installTime = 1.5, signature = x'00' WHERE PayloadID = 'ANTI'; DELETE FROM payloads WHERE PayloadID = 'OLD';
  >   INSERT INTO payloads SELECT 'AAA', 'F', 'N', 'V', 'S', 0, 0; INSERT INTO payload_data VALUES('AAA', 0, 'k', 'v');
  >   INSERT INTO payload_data VALUES('APP', 4, 'k/', x'0A')"
  $ mkdir -p "root/root2$(dirname "${pdb#$root}")" && cp root/other.db "root/root2${pdb#$root}"
  $ veskdb diff pdb /other.db
  - payloads AAA
  ~ payloads ANTI signature \x00 -> s
  ~ payloads ANTI installTime 1.5 -> 1970-01-01T00:00:01Z
  ~ payloads APP installState 7 -> installed
  + payloads OLD
  + dependencies OLD/NOWHERE
  - payload_data AAA/0/k
  - payload_data APP/4/k/
  [1]
  $ veskdb diff pdb /other.db --json | head -17
  [
    {
      "difference": "removed",
      "table": "payloads",
      "key": "AAA",
      "column": null,
      "old": null,
      "new": null
    },
    {
      "difference": "changed",
      "table": "payloads",
      "key": "ANTI",
      "column": "signature",
      "old": "\u0000",
      "new": "s"
    },
  [1]
  $ veskdb diff pdb "${pdb#$root}" /root2
  + payloads AAA
  ~ payloads ANTI signature s -> \x00
  ~ payloads ANTI installTime 1970-01-01T00:00:01Z -> 1.5
  ~ payloads APP installState installed -> 7
  - payloads OLD
  - dependencies OLD/NOWHERE
  + payload_data AAA/0/k
  + payload_data APP/4/k/
  [1]
  $ veskdb diff pdb /other.db /root2 --json
  []
  $ veskdb diff pdb /none
  veskdb: '/none': kVeskNotFound (8), it does not exist
  [2]
  $ veskdb diff pcd
  veskdb: pcd has no backup of its own; name a file or a root to compare with
  [2]

Graphs.

  $ veskdb graph pdb
  digraph payloads {
    rankdir=LR;
    node [shape=box, style=filled, fontname="Helvetica"];
    edge [fontname="Helvetica", fontsize=10];
    n1 [label="ANTI\nR \"1\" 1\nnot-installed", fillcolor="#fce8b2"];
    n2 [label="APP\nFendrial 12 Tessarine 12.0\ninstalled", fillcolor="#b7e1cd"];
    n3 [label="GONE\nnot on record", fillcolor="#ffffff", style="filled,dashed"];
    n4 [label="NOWHERE\nnot on record", fillcolor="#ffffff", style="filled,dashed"];
    n5 [label="OLD\nOld 11.0\nnot-installed", fillcolor="#fce8b2"];
    n1 -> n2 [label="conflicts"];
    n1 -> n3 [label="requires"];
    n2 -> n5 [label="upgrades"];
    n5 -> n4 [label="conflicts"];
  }
  $ veskdb graph pdb OLD --depth 0
  digraph payloads {
    rankdir=LR;
    node [shape=box, style=filled, fontname="Helvetica"];
    edge [fontname="Helvetica", fontsize=10];
    n1 [label="OLD\nOld 11.0\nnot-installed", fillcolor="#fce8b2"];
  }
  $ veskdb graph pdb OLD --depth 1
  digraph payloads {
    rankdir=LR;
    node [shape=box, style=filled, fontname="Helvetica"];
    edge [fontname="Helvetica", fontsize=10];
    n1 [label="APP\nFendrial 12 Tessarine 12.0\ninstalled", fillcolor="#b7e1cd"];
    n2 [label="NOWHERE\nnot on record", fillcolor="#ffffff", style="filled,dashed"];
    n3 [label="OLD\nOld 11.0\nnot-installed", fillcolor="#fce8b2"];
    n1 -> n3 [label="upgrades"];
    n3 -> n2 [label="conflicts"];
  }
  $ veskdb graph pdb ANTI --format mermaid
  flowchart LR
    n1["ANTI<br/>R #quot;1#quot; 1<br/>not-installed"]
    style n1 fill:#fce8b2
    n2["APP<br/>Fendrial 12 Tessarine 12.0<br/>installed"]
    style n2 fill:#b7e1cd
    n3["GONE<br/>not on record"]
    style n3 fill:#ffffff,stroke-dasharray:5
    n4["NOWHERE<br/>not on record"]
    style n4 fill:#ffffff,stroke-dasharray:5
    n5["OLD<br/>Old 11.0<br/>not-installed"]
    style n5 fill:#fce8b2
    n1 -->|conflicts| n2
    n1 -->|requires| n3
    n2 -->|upgrades| n5
    n5 -->|conflicts| n4
  $ veskdb graph pdb OLD --format svg | grep -c '</svg>'
  1
  $ veskdb graph pdb NONE
  veskdb: payload 'NONE': kVeskNotFound (8), it does not exist
  [1]

Exports.

  $ veskdb export pdb
  {"PayloadID":"ANTI","productFamily":"F","productName":"R \"1\"","version":"1","signature":"s","installState":0,"dependencies":[{"PayloadIDb":"APP","type":0},{"PayloadIDb":"GONE","type":2}],"payload_data":[],"upgraded_payloads":[]}
  {"PayloadID":"APP","productFamily":"Halvorick","productName":"Fendrial 12 Tessarine","version":"12.0","signature":"s","installState":2,"dependencies":[{"PayloadIDb":"OLD","type":1}],"payload_data":[{"domain":0,"key":"INSTALLDIR","value":"/Applications/Fendrial"},{"domain":3,"key":"raw","value":{"hex":"61FF0A"}}],"upgraded_payloads":["OLD"]}
  {"PayloadID":"OLD","productFamily":"Halvorick","productName":"Old","version":"11.0","signature":"","installState":0,"dependencies":[{"PayloadIDb":"NOWHERE","type":0}],"payload_data":[],"upgraded_payloads":[]}
  $ veskdb export pdb OLD ANTI
  {"PayloadID":"ANTI","productFamily":"F","productName":"R \"1\"","version":"1","signature":"s","installState":0,"dependencies":[{"PayloadIDb":"APP","type":0},{"PayloadIDb":"GONE","type":2}],"payload_data":[],"upgraded_payloads":[]}
  {"PayloadID":"OLD","productFamily":"Halvorick","productName":"Old","version":"11.0","signature":"","installState":0,"dependencies":[{"PayloadIDb":"NOWHERE","type":0}],"payload_data":[],"upgraded_payloads":[]}
  $ veskdb export pdb OLD NONE
  veskdb: payload 'NONE': kVeskNotFound (8), it does not exist
  [1]
  $ veskdb export pcd
  {"domain":1,"subDomain":"{E2B9}","key":"DefaultDriverPayload","value":"{E2B9}"}
  {"domain":2,"subDomain":"s","key":"k","value":"v"}
  {"domain":10,"subDomain":"s","key":"k","value":"v"}
  $ veskdb export cache
  {"domain":-1,"subDomain":"sub","key":"tab\there","value":"-v"}

Values that other programs wrote.

  $ sqlite3 "$pcd" "INSERT INTO domain_data VALUES('2', x'6380FF', 'line' || char(10) || char(13, 27, 155, 8238, 8294), NULL),
  >   ('10', x'FF', 'q', 'a\"b\\'), ('10', x'E28041F09F9841EDA080', 'q', 'no UTF-8'), (1.5, 'real', 'r', 2.25)"
  $ veskdb list pcd
  1.5|real|r|2.25
  1|{E2B9}|DefaultDriverPayload|{E2B9}
  2|s|k|v
  2|c\\x80\xff|line\\n\\r\\x1B\\xC2\\x9B\\xE2\\x80\\xAE\\xE2\\x81\\xA6|\\N (esc)
  10|s|k|v
  10|\xe2\\x80A\xf0\\x9F\\x98A\xed\xa0\\x80|q|no UTF-8 (esc)
  10|\xff|q|a"b\\\\ (esc)
  $ veskdb list pcd --json | sed -n '/\"2\"/,$p'
      "domain": "2",
      "subDomain": "s",
      "key": "k",
      "value": "v"
    },
    {
      "domain": "2",
      "subDomain": "c\xef\xbf\xbd\xef\xbf\xbd", (esc)
      "key": "line\\n\\r\\u001b\xc2\x9b\xe2\x80\xae\xe2\x81\xa6", (esc)
      "value": null,
      "hex": {
        "subDomain": "6380FF"
      }
    },
    {
      "domain": "10",
      "subDomain": "s",
      "key": "k",
      "value": "v"
    },
    {
      "domain": "10",
      "subDomain": "\xef\xbf\xbdA\xef\xbf\xbdA\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd", (esc)
      "key": "q",
      "value": "no UTF-8",
      "hex": {
        "subDomain": "E28041F09F9841EDA080"
      }
    },
    {
      "domain": "10",
      "subDomain": "\xef\xbf\xbd", (esc)
      "key": "q",
      "value": "a\"b\\",
      "hex": {
        "subDomain": "FF"
      }
    }
  ]
  $ veskdb export pcd
  veskdb: setting '1.5' 'real' 'r': its domain is '1.5', no 32-bit number, which import could not write
  [2]
  $ sqlite3 "$pdb" "UPDATE payloads SET installState = 'a\"|b\\' WHERE PayloadID = 'APP';
  >   UPDATE payloads SET installTime = 253402300800, productName = x'C3' WHERE PayloadID = 'OLD';
  >   UPDATE payloads SET installTime = -62135596801, installState = 3 WHERE PayloadID = 'ANTI';
  >   UPDATE dependencies SET type = 'c\"|<d#' WHERE PayloadID = 'APP'; UPDATE dependencies SET type = 8 WHERE PayloadIDb = 'GONE'"
  $ veskdb list pdb
  3|ANTI|1|F|R "1"|0000-12-31T23:59:59Z
  a"|b\\|APP|12.0|Halvorick|Fendrial 12 Tessarine|2023-11-14T22:13:20Z
  not-installed|OLD|11.0|Halvorick|\xc3|253402300800 (esc)
  $ veskdb list pdb --json | tail -14
    },
    {
      "installState": 0,
      "PayloadID": "OLD",
      "version": "11.0",
      "productFamily": "Halvorick",
      "productName": "\xef\xbf\xbd", (esc)
      "installTime": 253402300800,
      "signature": "",
      "hex": {
        "productName": "C3"
      }
    }
  ]
  $ veskdb graph pdb
  digraph payloads {
    rankdir=LR;
    node [shape=box, style=filled, fontname="Helvetica"];
    edge [fontname="Helvetica", fontsize=10];
    n1 [label="ANTI\nR \"1\" 1\n3", fillcolor="#f4c7c3"];
    n2 [label="APP\nFendrial 12 Tessarine 12.0\na\"|b\\\\", fillcolor="#f4c7c3"];
    n3 [label="GONE\nnot on record", fillcolor="#ffffff", style="filled,dashed"];
    n4 [label="NOWHERE\nnot on record", fillcolor="#ffffff", style="filled,dashed"];
    n5 [label="OLD\n\\xC3 11.0\nnot-installed", fillcolor="#fce8b2"];
    n1 -> n2 [label="conflicts"];
    n1 -> n3 [label="8"];
    n2 -> n5 [label="c\"|<d#"];
    n5 -> n4 [label="conflicts"];
  }
  $ veskdb graph pdb --format mermaid
  flowchart LR
    n1["ANTI<br/>R #quot;1#quot; 1<br/>3"]
    style n1 fill:#f4c7c3
    n2["APP<br/>Fendrial 12 Tessarine 12.0<br/>a#quot;#124;b\\"]
    style n2 fill:#f4c7c3
    n3["GONE<br/>not on record"]
    style n3 fill:#ffffff,stroke-dasharray:5
    n4["NOWHERE<br/>not on record"]
    style n4 fill:#ffffff,stroke-dasharray:5
    n5["OLD<br/>\xC3 11.0<br/>not-installed"]
    style n5 fill:#fce8b2
    n1 -->|conflicts| n2
    n1 -->|8| n3
    n2 -->|c#quot;#124;#lt;d#35;| n5
    n5 -->|conflicts| n4
  $ veskdb why pdb APP
  payload|PayloadID|APP
  payload|installState|a"|b\\
  payload|can be marked installed|false
  payload|reason|in conflict with it and on record, in any state: 'ANTI'
  conflicts|ANTI|APP|true|3
  upgraded_payloads|OLD|APP
  removed_with_it|APP|a"|b\\|1|2
  removed_with_it|OLD|not-installed|1|0
  [1]
  $ veskdb diff pdb
  ~ payloads ANTI installState not-installed -> 3
  ~ payloads ANTI installTime 1970-01-01T00:00:01Z -> 0000-12-31T23:59:59Z
  ~ payloads APP installState installed -> a"|b\\
  ~ payloads OLD productName Old -> \xc3 (esc)
  ~ payloads OLD installTime 2009-02-13T23:31:30Z -> 253402300800
  ~ dependencies ANTI/GONE type 2 -> 8
  ~ dependencies APP/OLD type 1 -> c"|<d#
  [1]
