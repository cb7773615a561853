#!/usr/bin/env bash
# End-to-end runs of the command-line host against the router simulator, as separate processes
# talking over loopback TCP.
# Usage: host_e2e_test.sh BIN_DIR SCHEMA [PUBLISHED_XSI_DIR]
#   SCHEMA             the project's schema of the two documents; every document must satisfy it
#   PUBLISHED_XSI_DIR  the published XSI schemas, when present: reported on, never failing the run
set -uo pipefail

BIN=$1
SCHEMA=$2
PUBLISHED=${3:-}
HOST="$BIN/fritzbox-xsi"
SIM="$BIN/fritzbox-router-sim"
PICTURES=/data/images/fritzbox
WORK=$(mktemp -d)
SIM_PIDS=()
PASSED=0
FAILED=0

stop_simulators() {
    for pid in "${SIM_PIDS[@]}"; do kill "$pid" 2>/dev/null && wait "$pid" 2>/dev/null; done
    SIM_PIDS=()
}
trap 'stop_simulators; rm -rf "$WORK"' EXIT

check() {  # check DESCRIPTION COMMAND...
    local what=$1
    shift
    if "$@"; then
        PASSED=$((PASSED + 1))
    else
        FAILED=$((FAILED + 1))
        echo "FAILED: $what" >&2
    fi
}

start_simulator() {  # start_simulator NAME [simulator options...]; sets PORT; output in $WORK/NAME.out|.err
    local name=$1
    shift
    "$SIM" --port 0 --password-file "$WORK/password" "$@" >"$WORK/$name.out" 2>"$WORK/$name.err" &
    SIM_PIDS+=($!)
    for _ in $(seq 100); do
        PORT=$(sed -n 's/^listening on .*:\([0-9]*\)$/\1/p' "$WORK/$name.out")
        [ -n "$PORT" ] && return 0
        sleep 0.1
    done
    echo "simulator $name did not start: $(cat "$WORK/$name.err")" >&2
    exit 1
}

run_host() {  # run_host [host options...]; sets STATUS, OUT, ERR (files)
    OUT="$WORK/host.out"
    ERR="$WORK/host.err"
    FRITZBOX_PASSWORD=$PASSWORD timeout 60 "$HOST" "$@" >"$OUT" 2>"$ERR"
    STATUS=$?
}

valid_document() {  # valid_document FILE: the project's schema decides, the published one informs
    xmllint --noout --schema "$SCHEMA" "$1" 2>"$WORK/xmllint.err" || { cat "$WORK/xmllint.err" >&2 && return 1; }
    if [ -d "$PUBLISHED" ]; then
        xmllint --noout --schema "$PUBLISHED/xsd/Directory/XSIDirectories.xsd" "$1" >/dev/null 2>&1 &&
            echo "info: $(basename "$1") is valid against the published XSI schema" ||
            echo "info: $(basename "$1") is not valid against the published XSI schema (not a failure)"
    fi
}
entries_counted() {  # numberOfRecords equals the number of entries, which no schema can say
    [ "$(grep -o '<entry>' "$1" | wc -l)" -eq "$(sed -n 's/.*<numberOfRecords>\([0-9]*\)<.*/\1/p' "$1")" ]
}
no_password_in() { ! grep -qF "$PASSWORD" "$@"; }
one_line() { [ "$(wc -l <"$1")" -eq 1 ]; }
requests_seen() { grep -cE ' -> [0-9]{3}$' "$WORK/$1.err"; }  # the simulator's --verbose lines

PASSWORD='sImUl-Pass#1'
printf '%s\n' "$PASSWORD" >"$WORK/password"
start_simulator router

# Both documents, valid against the project's schema; a Windows password file logs in too.
printf '%s\r\n' "$PASSWORD" >"$WORK/password-crlf"
run_host sync calllogs --router "127.0.0.1:$PORT" --user admin --password-file "$WORK/password-crlf"
check "calllogs exit 0" test "$STATUS" -eq 0
cp "$OUT" "$WORK/calllogs.xml"
check "calllogs: lists present and empty" grep -q '<placed></placed><received></received><missed></missed>' "$OUT"
check "calllogs: schema-valid" valid_document "$WORK/calllogs.xml"

run_host sync directory --router "127.0.0.1:$PORT" --user admin
check "directory exit 0" test "$STATUS" -eq 0
cp "$OUT" "$WORK/directory.xml"
check "directory: has entries" grep -q '<numberOfRecords>[1-9][0-9]*</numberOfRecords>' "$OUT"
check "directory: schema-valid" valid_document "$WORK/directory.xml"
check "directory: count matches the entries" entries_counted "$WORK/directory.xml"

# The token file carries the change token between runs: the second run finds nothing new.
run_host sync directory --router "127.0.0.1:$PORT" --user admin --token-file "$WORK/token"
check "token: first run converts" test "$STATUS" -eq 0
check "token: file holds a digest" grep -qE '^[0-9a-f]{32}$' "$WORK/token"
run_host sync directory --router "127.0.0.1:$PORT" --user admin --token-file "$WORK/token"
check "token: second run exit 1" test "$STATUS" -eq 1
check "token: second run has zero counts" grep -q '<numberOfRecords>0</numberOfRecords>' "$OUT"

# A token file that cannot be read (a directory) or written (no file may grow: a full disk
# as far as the host can tell) ends with exit 3 and one line, and leaves no temporary file.
mkdir -p "$WORK/tokens/a-directory"
run_host sync calllogs --router "127.0.0.1:$PORT" --user admin --token-file "$WORK/tokens/a-directory"
check "token: unreadable file exit 3, one line" test "$STATUS" -eq 3 -a "$(wc -l <"$ERR")" -eq 1
(trap '' XFSZ && ulimit -f 0 && FRITZBOX_PASSWORD=$PASSWORD exec timeout 60 "$HOST" sync directory \
    --router "127.0.0.1:$PORT" --user admin --token-file "$WORK/tokens/token") 2>&1 >/dev/null | cat >"$ERR"
check "token: failed write exit 3, one line" test "${PIPESTATUS[0]}" -eq 3 -a "$(wc -l <"$ERR")" -eq 1
check "token: no temporary file left" test "$(ls "$WORK/tokens")" = a-directory

# Pictures on a picture model: present while the module object lives, gone after.
FRITZBOX_PASSWORD=$PASSWORD timeout 60 "$HOST" sync directory --router "127.0.0.1:$PORT" --user admin \
    --model tern --repeat 2 --interval 1 >"$WORK/tern.out" 2>"$WORK/tern.err" &
HOST_PID=$!
pictures_seen=0
for _ in $(seq 50); do
    if [ -n "$(ls -A "$PICTURES" 2>/dev/null)" ]; then pictures_seen=1; break; fi
    sleep 0.1
done
wait "$HOST_PID"
check "pictures: exit 1 after the unchanged second sync" test $? -eq 1
check "pictures: files existed during the run" test "$pictures_seen" -eq 1
check "pictures: entries carry the local path" grep -q '@@@/data/images/fritzbox/[^<]*\.jpg</name>' "$WORK/tern.out"
check "pictures: directory gone after the run" test ! -e "$PICTURES"

# Every log level on: the password shows nowhere, only its length may.
run_host sync calllogs --router "127.0.0.1:$PORT" --user admin --log-level 9
check "full log: login traced" grep -q "getSid() m_sid='" "$ERR"
check "full log: no password" no_password_in "$OUT" "$ERR"

# Usage errors of either program: exit 2 and one line naming the problem, before any request.
usage_error() {  # usage_error COMMAND...
    FRITZBOX_PASSWORD=$PASSWORD timeout 10 "$@" >/dev/null 2>"$WORK/usage.err"
    check "usage error (exit 2, one line): ${*#"$BIN/"}" test $? -eq 2 -a "$(wc -l <"$WORK/usage.err")" -eq 1
}
: >"$WORK/empty"
printf 'one\ntwo\n' >"$WORK/two-lines"
for file in "$WORK/empty" "$WORK/two-lines" "$WORK/tokens/a-directory" "$WORK/missing"; do
    usage_error "$HOST" sync calllogs --router "127.0.0.1:$PORT" --user admin --password-file "$file"
    usage_error "$SIM" --port 0 --password-file "$file"
done
for address in 127.0.0.1:99999 127.0.0.1:0 127.0.0.1: ::1 '[::1' '[::1]8080'; do
    usage_error "$HOST" sync calllogs --user admin --router "$address"
    usage_error "$HOST" sync calllogs --user admin --connect-to "other.test:80:$address"
done
usage_error "$HOST" sync phonebook --user admin
usage_error "$HOST" sync calllogs --user admin --model heron
usage_error env -u FRITZBOX_PASSWORD "$HOST" sync calllogs --user admin
usage_error "$SIM" --port 0 --data "$WORK/missing"
usage_error "$SIM" --port "$PORT"
check "simulator: a port in use is named" grep -q "127.0.0.1:$PORT: Address already in use" "$WORK/usage.err"
for program in "$HOST" "$SIM"; do check "$program --help" "$program" --help >/dev/null; done

# An unreachable router: a clear message and a prompt end.
stop_simulators
run_host sync calllogs --router "127.0.0.1:$PORT" --user admin
check "unreachable: exit 1" test "$STATUS" -eq 1
check "unreachable: transport message logged" grep -q "connectionHandler() exception='" "$ERR"

# A redirect to another host reaches that host, and the requests after it go back to the router,
# whether the router keeps its connections open or closes each one.
for closing in "" --close-connections; do
    start_simulator target --verbose
    TARGET_PORT=$PORT
    start_simulator router --verbose --redirects 1 --redirect-host other.test $closing
    run_host sync calllogs --router "127.0.0.1:$PORT" --user admin --connect-to "other.test:80:127.0.0.1:$TARGET_PORT"
    stop_simulators  # their request lines are all written once they have ended
    check "redirect $closing: the other host was asked" test "$(requests_seen target)" -ge 1
    check "redirect $closing: later requests back at the router" test "$(requests_seen router)" -ge 2
done

# The demo runs the simulator program beside the host, with the installed or linked sample data.
timeout 60 "$HOST" demo >"$WORK/demo.out" 2>"$WORK/demo.err"
check "demo: exit 0" test $? -eq 0
check "demo: as expected" grep -q '^Demo finished as expected' "$WORK/demo.out"

echo "host e2e: $PASSED passed, $FAILED failed"
[ "$FAILED" -eq 0 ]
