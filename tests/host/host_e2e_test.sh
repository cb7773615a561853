#!/usr/bin/env bash
# End-to-end runs of the command-line host against the router simulator, as two processes
# talking over loopback TCP.
# Usage: host_e2e_test.sh BIN_DIR XSI_SCHEMA_DIR
set -uo pipefail

BIN=$1
SCHEMA_DIR=$2
HOST="$BIN/fritzbox-xsi"
SIM="$BIN/fritzbox-router-sim"
PICTURES=/data/images/fritzbox
WORK=$(mktemp -d)
SIM_PID=
PASSED=0
FAILED=0

cleanup() {
    [ -n "$SIM_PID" ] && kill "$SIM_PID" 2>/dev/null && wait "$SIM_PID" 2>/dev/null
    rm -rf "$WORK"
}
trap cleanup EXIT

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

start_simulator() {  # start_simulator [simulator options...]; sets PORT
    [ -n "$SIM_PID" ] && kill "$SIM_PID" 2>/dev/null && wait "$SIM_PID" 2>/dev/null
    "$SIM" --port 0 --password-file "$WORK/password" "$@" >"$WORK/sim.out" 2>"$WORK/sim.err" &
    SIM_PID=$!
    for _ in $(seq 100); do
        PORT=$(sed -n 's/^listening on .*:\([0-9]*\)$/\1/p' "$WORK/sim.out")
        [ -n "$PORT" ] && return 0
        sleep 0.1
    done
    echo "simulator did not start: $(cat "$WORK/sim.err")" >&2
    exit 1
}

run_host() {  # run_host [host options...]; sets STATUS, OUT, ERR (files)
    OUT="$WORK/host.out"
    ERR="$WORK/host.err"
    FRITZBOX_PASSWORD=$PASSWORD timeout 60 "$HOST" "$@" >"$OUT" 2>"$ERR"
    STATUS=$?
}

schema_valid() { xmllint --noout --schema "$SCHEMA_DIR/xsd/Directory/XSIDirectories.xsd" "$1" 2>/dev/null; }
well_formed() { xmllint --noout "$1" 2>/dev/null; }
no_password_in() { ! grep -qF "$PASSWORD" "$@"; }

PASSWORD='sImUl-Pass#1'
printf '%s\n' "$PASSWORD" >"$WORK/password"
start_simulator

# Both documents, valid against the published XSI schema.
run_host sync calllogs --router "127.0.0.1:$PORT" --user admin
check "calllogs exit 0" test "$STATUS" -eq 0
cp "$OUT" "$WORK/calllogs.xml"
check "calllogs: lists present and empty" grep -q '<placed></placed><received></received><missed></missed>' "$OUT"
check "calllogs: schema-valid" schema_valid "$WORK/calllogs.xml"

run_host sync directory --router "127.0.0.1:$PORT" --user admin
check "directory exit 0" test "$STATUS" -eq 0
cp "$OUT" "$WORK/directory.xml"
check "directory: has entries" grep -q '<numberOfRecords>[1-9][0-9]*</numberOfRecords>' "$OUT"
check "directory: well-formed" well_formed "$WORK/directory.xml"
check "directory: schema-valid with the bundled data" schema_valid "$WORK/directory.xml"

# The token file carries the change token between runs: the second run finds nothing new.
run_host sync directory --router "127.0.0.1:$PORT" --user admin --token-file "$WORK/token"
check "token: first run converts" test "$STATUS" -eq 0
check "token: file holds a digest" grep -qE '^[0-9a-f]{32}$' "$WORK/token"
run_host sync directory --router "127.0.0.1:$PORT" --user admin --token-file "$WORK/token"
check "token: second run exit 1" test "$STATUS" -eq 1
check "token: second run has zero counts" grep -q '<numberOfRecords>0</numberOfRecords>' "$OUT"

# Pictures on a picture model: present while the module object lives, gone after.
FRITZBOX_PASSWORD=$PASSWORD timeout 60 "$HOST" sync directory --router "127.0.0.1:$PORT" --user admin \
    --model tern --repeat 2 --interval 3 >"$WORK/tern.out" 2>"$WORK/tern.err" &
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

# A wrong password: the login fails, nothing is fetched.
PASSWORD='wrong-Pass#2' run_host sync calllogs --router "127.0.0.1:$PORT" --user admin --log-level 9
check "wrong password: exit 1" test "$STATUS" -eq 1
check "wrong password: login error logged" grep -q 'sync() error getting SID' "$ERR"
check "wrong password: no call list fetched" test "$(grep -c foncalls_list "$ERR")" -eq 0

# An unreachable router: a clear message and a prompt end.
kill "$SIM_PID" && wait "$SIM_PID" 2>/dev/null
SIM_PID=
run_host sync calllogs --router "127.0.0.1:$PORT" --user admin
check "unreachable: exit 1" test "$STATUS" -eq 1
check "unreachable: transport message logged" grep -q "connectionHandler() exception='" "$ERR"

# Usage errors: exit 2 with one line naming the problem.
run_host sync phonebook --user admin
check "usage: unknown data set" test "$STATUS" -eq 2 -a "$(wc -l <"$ERR")" -eq 1
run_host sync calllogs --user admin --model heron
check "usage: unknown model" grep -q -- '--model' "$ERR"
FRITZBOX_PASSWORD= timeout 10 env -u FRITZBOX_PASSWORD "$HOST" sync calllogs --user admin >/dev/null 2>"$WORK/nopw.err"
check "usage: no password" test $? -eq 2
check "help: exit 0" "$HOST" sync --help >/dev/null

echo "host e2e: $PASSED passed, $FAILED failed"
[ "$FAILED" -eq 0 ]
