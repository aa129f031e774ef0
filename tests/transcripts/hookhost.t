What hookhost says: with times as TIME, durations as MS, processes as PID and the plug-ins' paths as their names.

  $ . "$TESTDIR/machine.sh"
  $ hookhost()
  > {
  >   shown "$HOOKHOST" "$@" | sed -E -e "s:[^ ']*/([a-zA-Z_]+[.]so):\1:g" -e 's/202[0-9]-[0-9T:.-]*Z/TIME/' -e 's/[0-9]+\.[0-9]+ ms/MS/' \
  >     -e 's/"milliseconds":[0-9.e-]*/"milliseconds":MS/' -e 's/("pid":)[0-9]*/\1PID/' -e 's!(TIME [^ ]*) [0-9]+!\1 PID!' \
  >     -e 's/(64|32)-bit/NN-bit/g; s/x86-64|i386/OURS/'
  > }

  $ hookhost --help
  Calls an installer's custom-hook plug-in as the installer would.
  Usage: hookhost [OPTIONS] PLUGIN
  
  Positionals:
    PLUGIN REQUIRED             The plug-in, a dynamic library
  
  Options:
    -h,--help                   Print this help message and exit
    --version                   Print the version and exit
    --list                      List the plug-in's entry points and phase procedures instead
    --mode MODE                 install, reinstall, uninstall or a NN-bit number
    --phase PHASE ...           A phase to run: pre-system-check, pre-payload,
                                post-payload, session-open, session-close or a
                                NN-bit number; may be repeated. Without it:
                                session-open, pre-system-check, pre-payload,
                                post-payload, session-close
    -D,--property NAME=VALUE ...
                                A session property; may be repeated
    --root DIR                  Enter this folder as the root before any call
    --overlay                   Run on an overlay of the root, or of the machine itself,
                                that is thrown away (Linux)
    --keep DIR                  Leave the changes made on the overlay in this new or
                                empty folder
    --changes                   Record what each phase created, removed and changed
                                below the root; with --root or --overlay
    --home DIR                  The user's home folder, as seen from inside the root
    --null-properties           Give the hook no property map (a null pointer)
    --no-log-callback           Give the hook no log to write to
    --no-capture                Send the hook's own output to standard error as it is,
                                instead of recording it
    --expect OUTCOME ...        How a phase is expected to end: [PHASE=]STATUS, signal:N,
                                timeout or exit:N; without a phase, every phase that no
                                other one names; may be repeated. Exit status: 0 if
                                every expectation holds, 121 if one does not
    --expect-log TEXT ...       A part of a message that is expected: [PHASE=]TEXT; may
                                be repeated
    --explain                   Add to each log line of CustomHooksTessarine what it
                                means and what to do
    --debug wait                wait: print the worker's process id after loading, and
                                wait for a debugger or SIGCONT
    --format FORMAT             text (with time and phase, grouped on a terminal; the
                                default), raw (the messages and the output as they are,
                                and how a call failed to return) or jsonl (a JSON
                                object per line, errors included)
    -n,--dry-run                Check what can be checked without loading the plug-in,
                                and print what would be called
    --timeout SECONDS           The longest that a call into the plug-in may take,
                                such as 30 or 0.5
  
  Exit status: 0, or the first status other than 0 that the hook returned (123 for 123 and above);
  with expectations 0 if all hold and 121 if one does not;
  124 a call took longer than --timeout, 125 usage or host error, 126 the plug-in lacks an entry point,
  127 the plug-in cannot be loaded, 128+N the plug-in was ended by signal N. The last five end the run,
  except 125 for lost output, which replaces only status 0.
  $ hookhost --version | sed 's/[0-9]/N/g'
  hookhost NN.N
  $ hookhost --list "$PRODUCT"
  entry point                   QvInstallerCustomHookInitSession   exported
  entry point                   QvInstallerCustomHookProc          exported
  entry point                   QvInstallerCustomHookCloseSession  exported
  install/pre-system-check      InstallPreSystemCheckProc          exported
  install/pre-payload           PrePayloadInstallProc              exported
  install/post-payload          PostPayloadInstallProc             exported
  install/session-open          InstallSessionOpenProc             exported
  install/session-close         InstallSessionCloseProc            exported
  reinstall/pre-system-check    ReinstallPreSystemCheckProc        exported
  reinstall/pre-payload         PrePayloadReinstallProc            exported
  reinstall/post-payload        PostPayloadReinstallProc           exported
  reinstall/session-open        ReinstallSessionOpenProc           exported
  reinstall/session-close       ReinstallSessionCloseProc          exported
  uninstall/pre-system-check    UninstallPreSystemCheckProc        exported
  uninstall/pre-payload         PrePayloadUninstallProc            exported
  uninstall/post-payload        PostPayloadUninstallProc           exported
  uninstall/session-open        UninstallSessionOpenProc           exported
  uninstall/session-close       UninstallSessionCloseProc          exported
  $ hookhost --list "$LACKING"
  fixture loaded
  entry point                   QvInstallerCustomHookInitSession   exported
  entry point                   QvInstallerCustomHookProc          exported
  entry point                   QvInstallerCustomHookCloseSession  missing
  [126]

Dry runs.

  $ hookhost -n --mode install "$PRODUCT"
  would load CustomHooksTessarine.so
  would call QvInstallerCustomHookInitSession()
  would call QvInstallerCustomHookProc(properties, 3, 0, 0, log) for install/session-open
  would call QvInstallerCustomHookProc(properties, 0, 0, 0, log) for install/pre-system-check
  would call QvInstallerCustomHookProc(properties, 1, 0, 0, log) for install/pre-payload
  would call QvInstallerCustomHookProc(properties, 2, 0, 0, log) for install/post-payload
  would call QvInstallerCustomHookProc(properties, 4, 0, 0, log) for install/session-close
  would call QvInstallerCustomHookCloseSession()
  $ hookhost -n --mode 7 --phase 0xFFFFFFFF --phase session-close --root root --overlay --home /Users/ann -D a=b -D 'c=' --no-log-callback "$FIXTURE"
  would load libfixture_plugin.so
  would make an overlay of root
  would set HOME to /Users/ann
  would pass the property a=b
  would pass the property c=
  would call QvInstallerCustomHookInitSession()
  would call QvInstallerCustomHookProc(properties, 4294967295, 7, 0, null) for 7/0xFFFFFFFF
  would call QvInstallerCustomHookProc(properties, 4, 7, 0, null) for 7/session-close
  would call QvInstallerCustomHookCloseSession()
  $ hookhost -n --mode reinstall --phase 1 --overlay --null-properties "$FIXTURE"
  would load libfixture_plugin.so
  would make an overlay of /
  would call QvInstallerCustomHookInitSession()
  would call QvInstallerCustomHookProc(null, 1, 1, 0, log) for reinstall/pre-payload
  would call QvInstallerCustomHookCloseSession()
  $ hookhost -n --mode -1 --phase 1 --root root -D "x=$(printf '1\n2')" "$FIXTURE"
  would load libfixture_plugin.so
  would enter the root root
  would pass the property x=1\n2
  would call QvInstallerCustomHookInitSession()
  would call QvInstallerCustomHookProc(properties, 1, -1, 0, log) for -1/pre-payload
  would call QvInstallerCustomHookCloseSession()

Runs.

  $ run() { hookhost --home / --root root "$@" "$FIXTURE"; }
  $ run --mode uninstall
  TIME uninstall/load PID 2> fixture loaded
  TIME uninstall/session-open PID 2/3 
  TIME uninstall/session-open PID = status 0 after MS
  TIME uninstall/pre-system-check PID 2/0 
  TIME uninstall/pre-system-check PID = status 0 after MS
  TIME uninstall/pre-payload PID 2/1 
  TIME uninstall/pre-payload PID = status 0 after MS
  TIME uninstall/post-payload PID 2/2 
  TIME uninstall/post-payload PID = status 0 after MS
  TIME uninstall/session-close PID 2/4 
  TIME uninstall/session-close PID = status 0 after MS
  $ run --mode install --phase 1 --phase 2 -D times=3 -D say=hello
  TIME install/load PID 2> fixture loaded
  TIME install/pre-payload PID 0/1 hello
  TIME install/pre-payload PID = status 3 after MS
  TIME install/post-payload PID 0/2 hello
  TIME install/post-payload PID = status 6 after MS
  [3]
  $ run --mode install --phase 1 --phase 2 -D times=3 -D say=hello --format raw
  fixture loaded
  0/1 hello
  0/2 hello
  [3]
  $ run --mode install --phase 1 --phase 2 -D times=3 -D say=hello --format jsonl
  {"type":"output","time":"TIME","mode":"install","phase":"load","pid":PID,"stream":"stderr","line":"fixture loaded"}
  {"type":"message","time":"TIME","mode":"install","phase":"pre-payload","pid":PID,"message":"0/1 hello"}
  {"type":"phase","time":"TIME","mode":"install","phase":"pre-payload","pid":PID,"outcome":"returned","status":3,"milliseconds":MS}
  {"type":"message","time":"TIME","mode":"install","phase":"post-payload","pid":PID,"message":"0/2 hello"}
  {"type":"phase","time":"TIME","mode":"install","phase":"post-payload","pid":PID,"outcome":"returned","status":6,"milliseconds":MS}
  [3]
  $ run --mode 0 --phase 1 -D times=65536 --format jsonl
  {"type":"output","time":"TIME","mode":"install","phase":"load","pid":PID,"stream":"stderr","line":"fixture loaded"}
  {"type":"message","time":"TIME","mode":"install","phase":"pre-payload","pid":PID,"message":"0/1 "}
  {"type":"phase","time":"TIME","mode":"install","phase":"pre-payload","pid":PID,"outcome":"returned","status":65536,"milliseconds":MS}
  {"type":"notice","message":"status 65536 (0x10000) does not fit an exit status; 123 stands for it"}
  [123]
  $ run --mode 0 --phase 1 --phase 2 -D when=1 -D act=crash --format jsonl | sed -E 's/"(frames|core)":.*//'
  {"type":"output","time":"TIME","mode":"install","phase":"load","pid":PID,"stream":"stderr","line":"fixture loaded"}
  {"type":"message","time":"TIME","mode":"install","phase":"pre-payload","pid":PID,"message":"0/1 "}
  {"type":"phase","time":"TIME","mode":"install","phase":"pre-payload","pid":PID,"outcome":"signal","signal":5,"reason":"ended by signal 5 (Trace/breakpoint trap)","milliseconds":MS,
  {"type":"error","message":"install/pre-payload: ended by signal 5 (Trace/breakpoint trap); calls not made: 2"}
  [133]
  $ run --mode 0 --phase 1 --phase 2 -D when=1 -D act=exit --format jsonl
  {"type":"output","time":"TIME","mode":"install","phase":"load","pid":PID,"stream":"stderr","line":"fixture loaded"}
  {"type":"message","time":"TIME","mode":"install","phase":"pre-payload","pid":PID,"message":"0/1 "}
  {"type":"phase","time":"TIME","mode":"install","phase":"pre-payload","pid":PID,"outcome":"exit","exit":5,"reason":"the plug-in ended the process by exit(5); it must return instead","milliseconds":MS}
  {"type":"error","message":"install/pre-payload: the plug-in ended the process by exit(5); it must return instead; calls not made: 2"}
  [125]
  $ run --mode 0 --phase 1 -D act=hang --timeout 0.1 --format jsonl
  {"type":"output","time":"TIME","mode":"install","phase":"load","pid":PID,"stream":"stderr","line":"fixture loaded"}
  {"type":"message","time":"TIME","mode":"install","phase":"pre-payload","pid":PID,"message":"0/1 "}
  {"type":"phase","time":"TIME","mode":"install","phase":"pre-payload","pid":PID,"outcome":"timeout","reason":"it did not return within 0.1 s and was killed","milliseconds":MS}
  {"type":"error","message":"install/pre-payload: it did not return within 0.1 s and was killed; calls not made: 1"}
  [124]
  $ run --mode 0 --phase 1 -D act=hang --timeout 0.1 --format raw
  fixture loaded
  0/1 
  install/pre-payload = failed after MS: it did not return within 0.1 s and was killed
  hookhost: install/pre-payload: it did not return within 0.1 s and was killed; calls not made: 1
  [124]
  $ run --mode 0 --phase 1 -D act=print --format jsonl
  {"type":"output","time":"TIME","mode":"install","phase":"load","pid":PID,"stream":"stderr","line":"fixture loaded"}
  {"type":"message","time":"TIME","mode":"install","phase":"pre-payload","pid":PID,"message":"0/1 "}
  {"type":"output","time":"TIME","mode":"install","phase":"pre-payload","pid":PID,"stream":"stdout","line":"one"}
  {"type":"message","time":"TIME","mode":"install","phase":"pre-payload","pid":PID,"message":"three"}
  {"type":"output","time":"TIME","mode":"install","phase":"pre-payload","pid":PID,"stream":"stderr","line":"= fo\\ur"}
  {"type":"output","time":"TIME","mode":"install","phase":"pre-payload","pid":PID,"stream":"stdout","line":"two"}
  {"type":"phase","time":"TIME","mode":"install","phase":"pre-payload","pid":PID,"outcome":"returned","status":0,"milliseconds":MS}
  $ mkdir root/Users root/Users/ann
  $ hookhost --mode install --home /Users/ann --root root --explain "$PRODUCT"
  TIME install/session-open PID ::FT::In InstallSessionOpenProc  the phase has begun
  TIME install/session-open PID = status 0 after MS
  TIME install/pre-system-check PID ::FT::In InstallPreSystemCheckProc  the phase has begun
  TIME install/pre-system-check PID ::FT::CUSTOM ACTION: Opening PDB Session  the payload database is opened, never created
  TIME install/pre-system-check PID ::FT::CUSTOM ACTION: Unknown error opening PDB session  the payload database does not exist or cannot be opened (what to do: nothing on a machine without the application; else run veskdb verify pdb)
  TIME install/pre-system-check PID ::FT::CUSTOM ACTION: Closing PDB Session  the action is over
  TIME install/pre-system-check PID = status 0 after MS
  TIME install/pre-payload PID ::FT::In PrePayloadInstallProc  the phase has begun
  TIME install/pre-payload PID = status 0 after MS
  TIME install/post-payload PID ::FT::In PostPayloadInstallProc  the phase has begun
  TIME install/post-payload PID ::FT::CUSTOM ACTION: Inside Creating UUID  the action has begun
  TIME install/post-payload PID ::FT::CUSTOM ACTION: Creating UUID  a new identifier is written
  TIME install/post-payload PID ::FT::CUSTOM ACTION: Directory for the UUID file NOT present  the file's folder does not exist yet
  TIME install/post-payload PID ::FT::CUSTOM ACTION: Creating the directory structure /Library/Application Support/Zelko/Fendrial Tessarine/12  the folder is made, with those above it
  TIME install/post-payload PID ::FT::CUSTOM ACTION: Successfully created UUID  the file is in place and complete
  TIME install/post-payload PID ::FT::CUSTOM ACTION: Function start, to copy customevents.dat file from previous install  the action has begun
  TIME install/post-payload PID ::FT::CUSTOM ACTION: customevents.dat file not found  one version has no events file: 12, then 11.0, 10.0 and 9.0; if logged four times, the user has none
  TIME install/post-payload PID ::FT::CUSTOM ACTION: customevents.dat file not found  one version has no events file: 12, then 11.0, 10.0 and 9.0; if logged four times, the user has none
  TIME install/post-payload PID ::FT::CUSTOM ACTION: customevents.dat file not found  one version has no events file: 12, then 11.0, 10.0 and 9.0; if logged four times, the user has none
  TIME install/post-payload PID ::FT::CUSTOM ACTION: customevents.dat file not found  one version has no events file: 12, then 11.0, 10.0 and 9.0; if logged four times, the user has none
  TIME install/post-payload PID = status 0 after MS
  TIME install/session-close PID ::FT::In InstallSessionCloseProc  the phase has begun
  TIME install/session-close PID = status 0 after MS
  $ (cd root && find . -type f | sort)
  ./Library/Application Support/Zelko/Fendrial Tessarine/12/UUID.plist
  ./called

Expectations.

  $ run --mode 0 --phase 1 --phase 2 -D times=1 --expect 1 --expect post-payload=0 --expect pre-system-check=0 --expect-log 0/2 --expect-log 1=0/2 | grep -v TIME
  expected 1: held
  expected post-payload=0: not held: it was status 2
  expected pre-system-check=0: not held: it was not run
  expected 0/2: held
  expected 1=0/2: not held: no message contains it
  [121]
  $ run --mode 0 --phase 1 -D times=1 --expect 1 --expect 1=2 --format jsonl | grep expect
  {"type":"expectation","time":"TIME","mode":"install","expected":"1","held":true}
  {"type":"expectation","time":"TIME","mode":"install","expected":"1=2","held":false,"reason":"it was status 1"}
  [121]
  $ run --mode 0 --phase 1 --expect signal:1 --expect exit:0 --expect exit:255 --expect 2=signal:127 --expect 4294967295 | grep -v TIME
  expected signal:1: not held: pre-payload was status 0
  expected exit:0: not held: pre-payload was status 0
  expected exit:255: not held: pre-payload was status 0
  expected 2=signal:127: not held: it was not run
  expected 4294967295: not held: pre-payload was status 0
  [121]
  $ run --mode 0 --phase 1 -D act=crash --expect exit:5 --expect 2=0 | grep -v TIME
  hookhost: install/pre-payload: ended by signal 5 (Trace/breakpoint trap); calls not made: 1
  expected exit:5: not held: pre-payload was signal:5
  expected 2=0: not held: it was not run
  [133]
  $ run --mode 0 --phase 1 -D act=exit --expect signal:5 --expect close-entry=0 | grep -v TIME
  hookhost: install/pre-payload: the plug-in ended the process by exit(5); it must return instead; calls not made: 1
  expected signal:5: not held: pre-payload was exit:5
  expected close-entry=0: not held: it was not run
  [125]
  $ run --mode 0 --phase 1 -D act=hang --timeout 0.1 --expect 3 | grep -v TIME
  hookhost: install/pre-payload: it did not return within 0.1 s and was killed; calls not made: 1
  expected 3: not held: pre-payload was timeout
  [124]

Changes.

  $ rm root/called; mkdir root/etc; echo one >root/etc/one; touch -d @1700000000 root/etc/one root/etc
  $ run --mode 0 --phase 1 --phase 2 --changes
  TIME install/load PID 2> fixture loaded
  TIME install/pre-payload PID 0/1 
  TIME install/pre-payload PID = status 0 after MS
  TIME install/pre-payload PID + /called  file 0644 0:0 0 bytes
  TIME install/post-payload PID 0/2 
  TIME install/post-payload PID = status 0 after MS
  phase                              created   removed   changed
  install/pre-payload                      1         0         0
  install/post-payload                     0         0         0
  $ rm root/called; run --mode 0 --phase 1 --changes --format jsonl | sed 's/"date":"[^"]*"/"date":DATE/g'
  {"type":"output","time":"TIME","mode":"install","phase":"load","pid":PID,"stream":"stderr","line":"fixture loaded"}
  {"type":"message","time":"TIME","mode":"install","phase":"pre-payload","pid":PID,"message":"0/1 "}
  {"type":"phase","time":"TIME","mode":"install","phase":"pre-payload","pid":PID,"outcome":"returned","status":0,"milliseconds":MS}
  {"type":"change","time":"TIME","mode":"install","phase":"pre-payload","pid":PID,"change":"created","path":"/called","after":{"kind":"file","mode":"0644","uid":0,"gid":0,"bytes":0,"sha256":"e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855","date":DATE}}
  {"type":"run","time":"TIME","mode":"install","phases":[{"phase":"pre-payload","created":1,"removed":0,"changed":0}],"created":1,"removed":0,"changed":0}
  $ rm root/called; run --mode 0 --phase 1 --changes --format raw
  fixture loaded
  0/1 
  install/pre-payload + /called  file 0644 0:0 0 bytes
  phase                              created   removed   changed
  install/pre-payload                      1         0         0

Reading leaves the dates of the last reading.

  $ touch -a -d @1600000000 root/etc root/etc/one; run --mode 0 --phase 1 --changes >changes; stat -c %X root/etc root/etc/one
  1600000000
  1600000000

Refusals.

  $ hookhost
  hookhost: PLUGIN is required; see hookhost --help
  [125]
  $ for arguments in '' '--mode instal' '--mode 4294967296' '--mode -2147483649' '--mode 0x' '--mode 0xFFFFFFFFF' \
  >   '--mode 0 --phase preload' '--mode 0 -D code' '--mode 0 --property =x' '--mode 0 --timeout 0' '--mode 0 --timeout nan' \
  >   '--mode 0 --timeout 5s' '--mode 0 --timeout 2592001' '--mode 0 --timeout 1e' '--mode 0 --timeout -1' '--mode 0 --format xml' '--mode 0 --changes' \
  >   '--mode 0 --keep k' '--mode 0 --expect pre-load=0' '--mode 0 --expect signal:x' '--mode 0 --expect signal:0' \
  >   '--mode 0 --expect signal:128' '--mode 0 --expect exit:256' '--mode 0 --expect exit:' '--mode 0 --expect 4294967296' '--mode 0 --expect timeout:1' \
  >   '--mode 0 --expect-log a=b' '--mode 0 --expect-log 1=' '--mode 0 --explain --format raw' '--mode 0 --debug gdb' \
  >   '--mode 0 --home=' '--mode 0 --home ann' '--list --mode 0' '--list --overlay' '--mode 0 --root none' \
  >   '--mode 0 -D a=b c' '--mode 0 --phase 1 2' '--mode 0 --expect 0 1' '--mode 0 --expect-log a b' '--mode 0 --overlay --keep none/k' '--mode 0 --null-properties -D a=b' '-n --mode 0 --changes --root /'; do hookhost $arguments "$FIXTURE"; done
  hookhost: --mode is missing; give one of install, reinstall, uninstall or a number
  hookhost: --mode 'instal' is unknown; give one of install, reinstall, uninstall or a NN-bit number, such as 7 or 0xFFFFFFFF
  hookhost: --mode '4294967296' is unknown; give one of install, reinstall, uninstall or a NN-bit number, such as 7 or 0xFFFFFFFF
  hookhost: --mode '-2147483649' is unknown; give one of install, reinstall, uninstall or a NN-bit number, such as 7 or 0xFFFFFFFF
  hookhost: --mode '0x' is unknown; give one of install, reinstall, uninstall or a NN-bit number, such as 7 or 0xFFFFFFFF
  hookhost: --mode '0xFFFFFFFFF' is unknown; give one of install, reinstall, uninstall or a NN-bit number, such as 7 or 0xFFFFFFFF
  hookhost: --phase 'preload' is unknown; give one of pre-system-check, pre-payload, post-payload, session-open, session-close or a NN-bit number, such as 7 or 0xFFFFFFFF
  hookhost: --property 'code' has no '='; give NAME=VALUE
  hookhost: --property '=x' has no name; give NAME=VALUE
  hookhost: invalid --timeout '0'; give seconds above 0, such as 30 or 0.5, at most 2592000
  hookhost: invalid --timeout 'nan'; give seconds above 0, such as 30 or 0.5, at most 2592000
  hookhost: invalid --timeout '5s'; give seconds above 0, such as 30 or 0.5, at most 2592000
  hookhost: invalid --timeout '2592001'; give seconds above 0, such as 30 or 0.5, at most 2592000
  hookhost: invalid --timeout '1e'; give seconds above 0, such as 30 or 0.5, at most 2592000
  hookhost: invalid --timeout '-1'; give seconds above 0, such as 30 or 0.5, at most 2592000
  hookhost: --format 'xml' is unknown; give one of text, raw, jsonl
  hookhost: --changes cannot watch the machine itself; add --overlay, or --root with another root
  hookhost: --keep leaves the changes of an overlay; add --overlay or leave out --keep
  hookhost: --expect 'pre-load=0': the phase 'pre-load' is unknown; before the first '=', give one of pre-system-check, pre-payload, post-payload, session-open, session-close, load, open-entry, close-entry, unload or a NN-bit number
  hookhost: --expect 'signal:x': 'signal:x' is no outcome; give a status, signal:N, timeout or exit:N
  hookhost: --expect 'signal:0': 'signal:0' is no outcome; give a status, signal:N, timeout or exit:N
  hookhost: --expect 'signal:128': 'signal:128' is no outcome; give a status, signal:N, timeout or exit:N
  hookhost: --expect 'exit:256': 'exit:256' is no outcome; give a status, signal:N, timeout or exit:N
  hookhost: --expect 'exit:': 'exit:' is no outcome; give a status, signal:N, timeout or exit:N
  hookhost: --expect '4294967296': '4294967296' is no outcome; give a status, signal:N, timeout or exit:N
  hookhost: --expect 'timeout:1': 'timeout:1' is no outcome; give a status, signal:N, timeout or exit:N
  hookhost: --expect-log 'a=b': the phase 'a' is unknown; before the first '=', give one of pre-system-check, pre-payload, post-payload, session-open, session-close, load, open-entry, close-entry, unload or a NN-bit number
  hookhost: --expect-log '1=' has no text; give a part of a message
  hookhost: --explain adds to messages, which --format raw prints as they are; give text or jsonl
  hookhost: --debug 'gdb' is unknown; give wait
  hookhost: --home= has no value; give one after the '='
  hookhost: --home 'ann' is relative; give an absolute path, as seen from inside the root
  hookhost: --list calls nothing; leave out --mode
  hookhost: --list calls nothing; leave out --overlay
  hookhost: root 'none': no such folder; create it first or give an existing one
  hookhost: The following argument was not expected: libfixture_plugin.so; see hookhost --help
  hookhost: The following argument was not expected: libfixture_plugin.so; see hookhost --help
  hookhost: The following argument was not expected: libfixture_plugin.so; see hookhost --help
  hookhost: The following argument was not expected: libfixture_plugin.so; see hookhost --help
  hookhost: --keep 'none/k': No such file or directory; give a new or empty folder
  hookhost: --null-properties passes no properties; leave out --property or --null-properties
  hookhost: --changes cannot watch the machine itself, which --root '/' is; add --overlay or give another root
  [125]
  $ : >root/empty; ln -s loop root/loop; head -c 200 "$FIXTURE" >root/short.so; cp "$FIXTURE" root/machine.so; printf '\x28' | dd of=root/machine.so bs=1 seek=18 conv=notrunc status=none
  $ cp "$FIXTURE" root/object.so; printf '\x01' | dd of=root/object.so bs=1 seek=16 conv=notrunc status=none
  $ cp "$FIXTURE" root/unknown.so; printf '\x07' | dd of=root/unknown.so bs=1 seek=18 conv=notrunc status=none
  $ for plugin in none root root/empty root/loop root/short.so root/machine.so root/unknown.so root/object.so; do hookhost -n --mode 0 $plugin; done
  hookhost: plug-in './none': No such file or directory; give the path of a dynamic library
  hookhost: plug-in './root': this is not a file; give the path of a dynamic library
  hookhost: plug-in 'root/empty': this is not a dynamic library; give the plug-in's .so file
  hookhost: plug-in 'root/loop': Too many levels of symbolic links; give the path of a dynamic library
  hookhost: plug-in 'short.so': this library is damaged: its headers point outside the file; build or copy it again
  hookhost: plug-in 'machine.so': this is a NN-bit arm library and this hookhost loads NN-bit OURS ones; give one of that kind or use a hookhost of the library's kind
  hookhost: plug-in 'unknown.so': this is a NN-bit machine 7 library and this hookhost loads NN-bit OURS ones; give one of that kind or use a hookhost of the library's kind
  hookhost: plug-in 'object.so': this is an object file or a program; give a dynamic library (linked with -shared)
  [127]
  $ hookhost --mode 0 --format jsonl "$LACKING" | grep error
  {"type":"error","message":"plug-in 'libfixture_plugin_without_close_entry.so' does not export QvInstallerCustomHookCloseSession; a plug-in needs QvInstallerCustomHookInitSession, QvInstallerCustomHookProc, QvInstallerCustomHookCloseSession as plain (extern \"C\") functions","exit":126}
  [126]
  $ hookhost --mode x --format jsonl "$FIXTURE"
  {"type":"error","message":"--mode 'x' is unknown; give one of install, reinstall, uninstall or a NN-bit number, such as 7 or 0xFFFFFFFF","exit":125}
  [125]
