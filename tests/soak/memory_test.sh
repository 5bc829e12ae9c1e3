#!/usr/bin/env bash
# What soak.sh takes for a leak: one of 1 MiB a minute, within five minutes or ten, through noise and
# buffers that come and go; and not the noise.
set -euo pipefail
. "$(dirname "$(readlink -f "$0")")/memory.sh"
samples=$(mktemp)
trap 'rm -f "$samples"' EXIT
for minutes in 5 10; do
    for leak in 0 1024; do
        awk -v s=$((minutes * 60)) -v leak=$leak 'BEGIN {
            print "second,descriptors,resident_kib,buffers_kib"
            srand(7)
            for (i = 0; i < s; ++i) {
                buffers = int(30000 * rand())
                fills = i < s / 4 ? 20000 * i / s : 5000
                printf "%d,100,%d,%d\n", i, 40000 + fills + 2000 * rand() + leak * i / 60 + buffers, buffers
            }
        }' >"$samples"
        read -r early late allowed <<<"$(growth "$samples" 1024)"
        echo "$minutes minutes, $leak KiB a minute: $early, $late, allowed $allowed"
        [ $((late - early > allowed)) = $((leak > 0)) ]
    done
done
