# SPDX-FileCopyrightText: The Marlowick authors
# SPDX-License-Identifier: MIT
#
# shellcheck shell=bash
# The check that an installed program starts, and runs only once. Source lib.sh before. The folder
# $work is deleted at the end, with everything in it.

work=$(mktemp -d)
program=
cleanup() {
    [[ -z $program ]] || kill "$program" 2>/dev/null || true
    rm -rf "$work"
}
trap 'report_failure; cleanup' EXIT

# wait_for_log <text>  waits until the program has printed it, for ten seconds at most
wait_for_log() {
    local _
    for _ in {1..100}; do
        ! grep -F "$1" "$work/log" || return 0
        kill -0 "$program" || break
        sleep 0.1
    done
    cat "$work/log" >&2
    return 1
}

# write_settings <folder> <the same folder as seen from here>
# The settings allow no connection, so nothing leaves the machine.
write_settings() {
    mkdir -p "$2/downloads"
    printf '[General]\nhostname=127.0.0.1\nthreads=0\ndownloadFolder=%s/downloads\n' \
        "$1" >"$2/Marlowick.ini"
    cat >"$2/tiny.nzb" <<'NZB'
<?xml version="1.0" encoding="UTF-8"?>
<nzb>
<file poster="p" date="1" subject="&quot;tiny.bin&quot; yEnc (1/1)">
<groups><group>g</group></groups>
<segments><segment bytes="10" number="1">tiny@post.test</segment></segments>
</file>
</nzb>
NZB
}

# check_start <root> <settings file> <command>...  the command sees <root> as /
check_start() {
    local root=$1 settings=$2
    local folder=${settings%/*}
    local start=(env QT_QPA_PLATFORM=offscreen QT_FORCE_STDERR_LOGGING=1 "${@:3}")
    write_settings "$folder" "$root$folder"
    "${start[@]}" >"$work/log" 2>&1 &
    program=$!
    wait_for_log "Loading settings from: \"$settings\""
    echo "A second start hands its argument over and ends."
    timeout 10 "${start[@]}" "$folder/tiny.nzb"
    wait_for_log "Created folder: \"$folder/downloads/tiny\""
    kill "$program"
    wait "$program" || true
    program=
}
