#!/usr/bin/env bash

# SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
#
# SPDX-License-Identifier: MIT

# A picture directory that exists before the kit runs may be a running service's: the kit must
# skip every check that would make the module delete it, and leave its pictures alone. Runs in a
# private /data/images (scripts/with-private-pictures.sh).
# Usage: keeps-service-pictures.sh KIT [EMULATOR...]
set -euo pipefail

kit=$1
shift
mkdir -p /data/images/fritzbox
echo jpeg >/data/images/fritzbox/service.jpg
status=0
report=$("$@" "$kit" --model tern --only 'e2e.*') || status=$?
echo "$report"
[ "$status" -eq 3 ] || { echo "expected exit status 3 (checks skipped), got $status" && exit 1; }
[ "$(cat /data/images/fritzbox/service.jpg)" = jpeg ] || { echo "the service's picture is gone" && exit 1; }
# Every end-to-end check but the record codec makes a module object.
skipped=$(grep -c '^SKIP e2e\..*existed before the kit ran' <<<"$report")
[ "$skipped" -eq "$(($(grep -c '^[A-Z]* e2e\.' <<<"$report") - 1))" ] || { echo "expected those checks skipped" && exit 1; }
