#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# The command-line host and the router simulator as separate processes over loopback TCP; the host
# may be an ARM build run under EMULATOR, the simulator is native.
# Usage: host_e2e_test.sh SCHEMA PUBLISHED_XSI_DIR SIMULATOR HOST [EMULATOR...]
# Documents must satisfy SCHEMA (the project's); the published XSI schemas, when present, only inform.
set -uo pipefail

SCHEMA=$1 PUBLISHED=$2 SIM=$3 EMULATOR=("${@:5}")
HOST_PROGRAM=$4 HOST=("${EMULATOR[@]}" "$4") PICTURES=/data/images/fritzbox PASSWORD='sImUl-Pass#1' WORK=$(mktemp -d)
OUT=$WORK/out ERR=$WORK/err SIM_PIDS=() CHECKS=0 FAILED=0

stop_simulators() { for pid in "${SIM_PIDS[@]}"; do kill "$pid" && wait "$pid"; done 2>/dev/null; SIM_PIDS=(); }
trap 'stop_simulators; rm -rf "$WORK"' EXIT

check() { CHECKS=$((CHECKS + 1)) && "${@:2}" || { FAILED=$((FAILED + 1)) && echo "FAILED: $1" >&2; }; }  # check TEXT COMMAND...
# expect STATUS REGEX COMMAND...: COMMAND (with FRITZBOX_PASSWORD set) ends with STATUS and writes a
# line matching REGEX to stdout or stderr; for status 2 and 3 (usage, token file) its stderr is
# exactly that one line.
expect() {
    FRITZBOX_PASSWORD=$PASSWORD timeout 120 "${@:3}" >"$OUT" 2>"$ERR"
    local status=$? ok=0
    [ $status -eq "$1" ] && grep -qE -- "$2" "$OUT" "$ERR" && { [ "$1" != 2 ] && [ "$1" != 3 ] || [ "$(wc -l <"$ERR")" = 1 ]; } && ok=1
    check "${*:3}: exit $status, expected $1 and /$2/ in: $(head -c 300 "$ERR")" test $ok = 1
}
run_sync() { expect "$1" "$2" "${HOST[@]}" sync "${@:3}" --user admin; }  # run_sync STATUS REGEX ARGS...

start_simulator() {  # start_simulator NAME [simulator options...]: sets PORT; stderr in $WORK/NAME.err
    rm -f "$WORK/$1.out"  # an earlier simulator's line must not be read before the new one truncates it
    "$SIM" --port 0 --password-file "$WORK/password" "${@:2}" >"$WORK/$1.out" 2>"$WORK/$1.err" &
    SIM_PIDS+=($!)
    for _ in $(seq 100); do
        PORT=$(sed -n 's/^listening on .*:\([0-9]*\)$/\1/p' "$WORK/$1.out" 2>/dev/null) && [ -n "$PORT" ] && return 0 || sleep 0.1
    done
    echo "simulator $1 did not start: $(cat "$WORK/$1.err")" >&2 && exit 1
}

valid_document() {  # valid_document FILE: the project's schema decides, the published one informs
    [ ! -d "$PUBLISHED" ] || echo "info: $1 $(xmllint --noout --schema "$PUBLISHED/xsd/Directory/XSIDirectories.xsd" \
        "$1" 2>/dev/null && echo is || echo is not) valid against the published XSI schema (never a failure)"
    # numberOfRecords equals the number of entries, which no schema can say
    local count=$(sed -n 's/.*<numberOfRecords>\([0-9]*\)<.*/\1/p' "$1")
    xmllint --noout --schema "$SCHEMA" "$1" && { [ -z "$count" ] || [ "$(grep -o '<entry>' "$1" | wc -l)" -eq "$count" ]; }
}

printf '%s\n' "$PASSWORD" >"$WORK/password" && printf '%s\r\n' "$PASSWORD" >"$WORK/password-crlf"
printf '%s' "$PASSWORD" >"$WORK/password-unended"
start_simulator router
ROUTER=(--router "127.0.0.1:$PORT")

# Both documents, valid; a Windows password file logs in too; no log level shows the password.
run_sync 0 '<placed></placed><received></received><missed></missed>' calllogs "${ROUTER[@]}" \
    --password-file "$WORK/password-crlf" --log-level 9
check "calllogs: schema-valid" valid_document "$OUT"
check "calllogs: login traced" grep -q "getSid() m_sid='" "$ERR"
check "calllogs: no password in the output" test -z "$(grep -F -- "$PASSWORD" "$OUT" "$ERR")"
run_sync 0 '<numberOfRecords>[1-9][0-9]*</numberOfRecords>' directory "${ROUTER[@]}" --token-file "$WORK/token"
check "directory: schema-valid" valid_document "$OUT"
check "token: the file holds a digest" grep -qE '^[0-9a-f]{32}$' "$WORK/token"
run_sync 1 '<numberOfRecords>0</numberOfRecords>' directory "${ROUTER[@]}" --token-file "$WORK/token"
# A password file without a line end is all password; one sync does not wait for an interval (a
# wait would outlast the time limit); a token file named relative to the working directory.
expect 0 '<placed>' env -C "$WORK" "${HOST[@]}" sync calllogs "${ROUTER[@]}" --user admin \
    --password-file "$WORK/password-unended" --interval 3600 --token-file relative-token
check "token: a relative name is kept in the working directory" grep -qE '^[0-9a-f]{32}$' "$WORK/relative-token"
# Started with stdin closed (as a daemon may be), the password file is opened as descriptor 0.
expect 0 '<placed>' bash -c 'exec "$@" <&-' _ "${HOST[@]}" sync calllogs "${ROUTER[@]}" --user admin \
    --password-file "$WORK/password"
# With a router that closes every connection, descriptor 0 is free again when the token is written.
start_simulator closing --close-connections
expect 0 '<placed>' bash -c 'exec "$@" <&-' _ "${HOST[@]}" sync calllogs --router "127.0.0.1:$PORT" --user admin \
    --password-file "$WORK/password" --token-file "$WORK/token-on-descriptor-0"
check "token: written on descriptor 0" grep -qE '^[0-9a-f]{32}$' "$WORK/token-on-descriptor-0"
PORT=${ROUTER[1]##*:}

# A token file that cannot be read (a directory) or written (no file may grow: a full disk as
# far as the host can tell) ends with exit 3 and leaves no temporary file.
mkdir -p "$WORK/tokens/a-directory"
run_sync 3 'token file' calllogs "${ROUTER[@]}" --token-file "$WORK/tokens/a-directory"
expect 3 'token file' bash -c 'set -o pipefail; (trap "" XFSZ && ulimit -f 0 && exec "$@" 2>&1 >/dev/null) | cat >&2' _ \
    "${HOST[@]}" sync directory "${ROUTER[@]}" --user admin --token-file "$WORK/tokens/token"
check "token: no temporary file left" test "$(ls "$WORK/tokens")" = a-directory

# Pictures on a picture model: present while the module object lives, gone after.
(FAILED=0 && run_sync 1 '@@@/data/images/fritzbox/[^<]*\.jpg</name>' directory "${ROUTER[@]}" --model tern \
    --repeat 2 --interval 1 && exit "$FAILED") &
for _ in $(seq 300); do [ -z "$(ls -A "$PICTURES" 2>/dev/null)" ] && sleep 0.1 || break; done
check "pictures: files exist during the run" test -n "$(ls -A "$PICTURES" 2>/dev/null)"
check "pictures: the run (see above)" wait $!
check "pictures: gone after the run" test ! -e "$PICTURES"

# Usage errors of either program: exit 2 and one line naming the problem, before any request (a
# file that opens but fails to read too: /proc/self/mem at offset 0).
: >"$WORK/empty" && printf 'one\ntwo\n' >"$WORK/two-lines" && printf '\r\n' >"$WORK/line-end-only"
for file in empty line-end-only two-lines tokens/a-directory missing; do
    run_sync 2 password-file calllogs "${ROUTER[@]}" --password-file "$WORK/$file"
done
run_sync 2 'password-file /proc/self/mem: Input/output error' calllogs "${ROUTER[@]}" --password-file /proc/self/mem
expect 2 password-file "$SIM" --port 0 --password-file "$WORK/two-lines"
for address in 127.0.0.1:99999 127.0.0.1:0 127.0.0.1: ::1 '[::1' '[::1]8080'; do
    run_sync 2 --router calllogs --router "$address"
    run_sync 2 --connect-to calllogs --connect-to "other.test:80:$address"
done
run_sync 2 phonebook phonebook
run_sync 2 heron calllogs --model heron
expect 2 heron "${HOST[@]}" demo --model heron
expect 2 'no password' env -u FRITZBOX_PASSWORD "${HOST[@]}" sync calllogs --user admin
expect 2 "$WORK/missing" "$SIM" --port 0 --data "$WORK/missing"
expect 2 "127.0.0.1:$PORT: Address already in use" "$SIM" --port "$PORT"
expect 0 sync "${HOST[@]}" --help; expect 0 listen "$SIM" --help

# The document is part of the transaction: a reader that cannot take it (a full disk, a closed
# stdout, a reader that went away) ends the run with exit 6 and leaves the token as it was.
# The reader that went away is a pipe whose read end is closed before the host starts, so that no
# scheduling lets the write in first.
printf 'old\n' >"$WORK/kept-token"
reader_gone=(python3 -c 'import os, sys; r, w = os.pipe(); os.close(r); os.dup2(w, 1); os.execvp(sys.argv[1], sys.argv[1:])')
for sink in '>/dev/full' '>&-' 'reader gone'; do
    run=(bash -c "\"\$@\" $sink" _)
    [ "$sink" = 'reader gone' ] && run=("${reader_gone[@]}")
    expect 6 'cannot write the document' "${run[@]}" "${HOST[@]}" sync directory "${ROUTER[@]}" \
        --user admin --token-file "$WORK/kept-token"
    check "output $sink: token kept" test "$(cat "$WORK/kept-token")" = old
done
# Failures told apart: a refused login (5), a router answering badly (4), with one line in words.
# The wrong password goes to a router of its own: a router blocks logins for a while after a
# failed one, which would refuse the rows after it.
start_simulator refusing
expect 5 "router refused the login of user 'admin'" env FRITZBOX_PASSWORD=wrong "${HOST[@]}" sync calllogs \
    --router "127.0.0.1:$PORT" --user admin
start_simulator failing --force-status 500
expect 4 'answered /fritz.box/download.lua|answered .* with status 500' "${HOST[@]}" sync calllogs \
    --router "127.0.0.1:$PORT" --user admin
# Values: checked before any request, each with its own line.
for bad in '--interval nan' '--interval 1e300' '--interval -1' '--repeat 0'; do
    run_sync 2 "${bad%% *}" calllogs "${ROUTER[@]}" $bad
done
expect 2 'user name must not be empty' "${HOST[@]}" sync calllogs "${ROUTER[@]}" --user ''
expect 2 'no password' env FRITZBOX_PASSWORD= "${HOST[@]}" sync calllogs "${ROUTER[@]}" --user admin
run_sync 2 'password-file /dev/zero: longer than 65536 bytes' calllogs "${ROUTER[@]}" --password-file /dev/zero
# (a token file is also written: never name a device for it, a fault could replace the device)
head -c 70000 /dev/zero | tr '\0' x >"$WORK/long-token"
run_sync 3 'long-token: longer than 65536 bytes' calllogs "${ROUTER[@]}" --token-file "$WORK/long-token"
expect 0 '^fritzbox-xsi 1\.0$' "${HOST[@]}" --version
# Log levels: below 2 silent, the environment's level and model used when no option names them.
run_sync 0 '<placed>' calllogs "${ROUTER[@]}" --log-level 0
check "log level 0: nothing on stderr" test ! -s "$ERR"
expect 0 'getSid\(\) m_sid=' env FRITZBOX_LOG_LEVEL=6 "${HOST[@]}" sync calllogs "${ROUTER[@]}" --user admin
expect 0 '/data/images/fritzbox/' env FRITZBOX_PHONE_MODEL=tern "${HOST[@]}" sync directory "${ROUTER[@]}" --user admin
# The token file keeps its mode, and links to it (an absolute one to a relative one) stay links
# whose target is replaced.
printf 'x\n' >"$WORK/mode-token" && chmod 640 "$WORK/mode-token" && ln -s mode-token "$WORK/token-link"
ln -s "$WORK/token-link" "$WORK/token-link-absolute"
run_sync 0 '<numberOfRecords>' directory "${ROUTER[@]}" --token-file "$WORK/token-link-absolute"
check "token: the mode kept" test "$(stat -c %a "$WORK/mode-token")" = 640
check "token: the links kept, their target replaced" test -L "$WORK/token-link" -a -L "$WORK/token-link-absolute" \
    -a "$(wc -c <"$WORK/mode-token")" = 33
# Repeated syncs: each document ends with a NUL byte.
run_sync 1 '<numberOfRecords>' directory "${ROUTER[@]}" --repeat 2
check "repeat: two NUL-ended documents" test "$(tr -cd '\0' <"$OUT" | wc -c)" = 2
# A stop signal during the wait between syncs ends the run at once, with 128 + the signal, and
# the module object is destroyed: no picture is left.
for signal in INT TERM HUP; do
    : >"$OUT"  # the last run's document must not be taken for this one's
    FRITZBOX_PASSWORD=$PASSWORD "${HOST[@]}" sync directory "${ROUTER[@]}" --user admin --model tern --repeat 3 \
        --interval 3600 >"$OUT" 2>"$ERR" &
    for _ in $(seq 300); do [ "$(tr -cd '\0' <"$OUT" | wc -c)" -ge 1 ] && break || sleep 0.1; done
    kill -"$signal" $!
    wait $!
    status=$?
    check "SIG$signal: exit $status, expected $((128 + $(kill -l "$signal")))" test $status = $((128 + $(kill -l "$signal")))
    check "SIG$signal: the pictures are gone" test ! -e "$PICTURES"
done

# A stop signal while a sync runs: the sync is finished within its own bounds (here three answers
# each 200 ms late) and its document written, then the run ends with 128 + the signal and no
# picture is left. The signal comes once the router has answered the sync's first request.
start_simulator slow --delay-ms 200 --verbose
: >"$OUT"
FRITZBOX_PASSWORD=$PASSWORD "${HOST[@]}" sync calllogs --router "127.0.0.1:$PORT" --user admin --model tern \
    --repeat 3 --interval 3600 >"$OUT" 2>"$ERR" &
for _ in $(seq 100); do grep -q 'login_sid.lua -> ' "$WORK/slow.err" && break || sleep 0.05; done
kill -TERM $!
wait $!
status=$?
check "SIGTERM during a sync: exit $status, expected 143" test $status = 143
check "SIGTERM during a sync: its document written, no further sync" test "$(tr -cd '\0' <"$OUT" | wc -c)" = 1
check "SIGTERM during a sync: the pictures are gone" test ! -e "$PICTURES"
kill "${SIM_PIDS[-1]}" && wait "${SIM_PIDS[-1]}" 2>/dev/null
unset 'SIM_PIDS[-1]'

# The simulator ends at once on SIGINT or SIGTERM, also with a delayed answer pending.
for signal in INT TERM; do
    start_simulator delayed --delay-ms 60000
    exec 3<>"/dev/tcp/127.0.0.1/$PORT" && printf 'GET /login_sid.lua HTTP/1.1\r\nHost: fritz.box\r\n\r\n' >&3
    sleep 0.2 && kill -"$signal" "${SIM_PIDS[-1]}"
    for _ in $(seq 20); do kill -0 "${SIM_PIDS[-1]}" 2>/dev/null && sleep 0.1 || break; done
    check "simulator: SIG$signal with a delayed answer pending ends it within 2 s" test ! -e "/proc/${SIM_PIDS[-1]}"
    exec 3>&-
    stop_simulators
done
# --listen takes ADDR[:PORT], IPv6 in brackets; a bad one is named.
expect 2 "--listen '\[::1': expected" "$SIM" --listen '[::1'
expect 2 "--listen '127.0.0.1:99999': the port" "$SIM" --listen 127.0.0.1:99999
expect 0 '^fritzbox-router-sim 1\.0$' "$SIM" --version

# An unreachable router: a clear message and a prompt end.
stop_simulators
run_sync 4 "router could not be used: cannot connect to fritz.box:80" calllogs "${ROUTER[@]}"

# A redirect to another host reaches that host, and the requests after it go back to the router,
# whether the router keeps its connections open or closes each one (the login then fails: its
# challenge came from the other host).
for closing in "" --close-connections; do
    start_simulator target --verbose && TARGET_PORT=$PORT
    start_simulator router --verbose --redirects 1 --redirect-host other.test $closing
    run_sync 5 'router refused the login' calllogs --router "127.0.0.1:$PORT" --connect-to "other.test:80:127.0.0.1:$TARGET_PORT"
    stop_simulators  # their --verbose request lines are all written once they have ended
    check "redirect $closing: the other host was asked" grep -qE ' -> [0-9]{3}$' "$WORK/target.err"
    check "redirect $closing: later requests back at the router" test "$(grep -cE ' -> [0-9]{3}$' "$WORK/router.err")" -ge 2
done

# The demo runs the fritzbox-router-sim program found beside its own executable (a copy here, so
# an ARM host finds the native simulator), with the sample data found from the simulator's place;
# a data directory the simulator cannot read ends the demo with status 1.
mkdir "$WORK/bin" && cp "$HOST_PROGRAM" "$WORK/bin/fritzbox-xsi" && ln -s "$(readlink -f "$SIM")" "$WORK/bin/fritzbox-router-sim"
expect 0 '^Demo finished as expected' "${EMULATOR[@]}" "$WORK/bin/fritzbox-xsi" demo
check "demo: every picture the directory names was on disk" \
    grep -qE '^([1-9][0-9]*) contact picture\(s\) named in the directory, \1 of them on disk' "$OUT"
expect 1 'ended before it listened' "${EMULATOR[@]}" "$WORK/bin/fritzbox-xsi" demo --data "$WORK/missing"
# demo_beside NAME SCRIPT: a copy of the host in $WORK/NAME, with SCRIPT as the simulator beside it.
demo_beside() {
    mkdir "$WORK/$1" && cp "$HOST_PROGRAM" "$WORK/$1/fritzbox-xsi"
    printf '#!/bin/sh\n%s\n' "$2" >"$WORK/$1/fritzbox-router-sim" && chmod +x "$WORK/$1/fritzbox-router-sim"
}
# A demo killed outright (SIGKILL, no handler runs) takes its simulator with it: here a simulator
# whose answers are held back, so that the demo is still syncing when it is killed.
demo_beside held "echo \$\$ >'$WORK/held/sim.pid'; exec '$(readlink -f "$SIM")' \"\$@\" --delay-ms 60000"
"${EMULATOR[@]}" "$WORK/held/fritzbox-xsi" demo >"$WORK/held/out" 2>&1 &
for _ in $(seq 100); do grep -q '^Router simulator' "$WORK/held/out" && break || sleep 0.1; done
kill -KILL $! && wait $! 2>/dev/null
for _ in $(seq 20); do kill -0 "$(cat "$WORK/held/sim.pid")" 2>/dev/null && sleep 0.1 || break; done
check "demo killed: its simulator is gone" test -n "$(cat "$WORK/held/sim.pid")" -a ! -e "/proc/$(cat "$WORK/held/sim.pid")"

# A stop signal while the demo waits for a simulator that says nothing ends the demo at once with
# 128 + the signal, and the simulator with it.
demo_beside silent "echo \$\$ >'$WORK/silent/sim.pid'; exec sleep 60"
"${EMULATOR[@]}" "$WORK/silent/fritzbox-xsi" demo >"$WORK/silent/out" 2>&1 &
for _ in $(seq 100); do [ -s "$WORK/silent/sim.pid" ] && break || sleep 0.1; done
kill -TERM $!
wait $!
stopped=$?
check "demo stopped while it waits: exit $stopped, 143 expected" test $stopped = 143
check "demo stopped while it waits: says so" grep -q 'stopped by a signal while waiting' "$WORK/silent/out"
check "demo stopped while it waits: its simulator is gone" test ! -e "/proc/$(cat "$WORK/silent/sim.pid")"

# Without a writable picture directory the demo stores no picture and says so.
if unshare -m true 2>/dev/null; then
    expect 1 'could not write /data/images/fritzbox/' unshare -m sh -c \
        'mount -t tmpfs -o ro tmpfs /data/images && exec "$@"' _ "${EMULATOR[@]}" "$WORK/bin/fritzbox-xsi" demo
fi
# A router that refuses the call list, the export and the photos fails both syncs, and the demo
# says so although the syncs with unchanged data and the pictures went as they should (the data
# named this time: the sample's own directory).
demo_beside refusing "exec '$(readlink -f "$SIM")' \"\$@\" --force-status 500"
expect 1 '^Demo did NOT go as expected' "${EMULATOR[@]}" "$WORK/refusing/fritzbox-xsi" demo \
    --data "$(dirname "$0")/../../data/sample-router"
check "demo: the data directory named" grep -q "serving $(dirname "$0")/../../data/sample-router$" "$OUT"

echo "host e2e: $CHECKS checks, $FAILED failed"
[ "$FAILED" -eq 0 ]
