# shellcheck shell=bash
# growth SAMPLES SLACK: the lobby's memory in KiB, but its buffers and what it has for connections (8
# a descriptor), of both of which it keeps as many as the busiest moment took: the median before the
# middle of the samples (in their third sixth, when pools are full) and at their end (in the last),
# and what the latter may have more: half a MiB for every minute between them, and the slack. A leak of 1 MiB
# a minute is seen from five minutes on, with a slack of 1 MiB.
growth() {
    awk -F, -v slack="$2" 'NR > 1 && $2 > most { most = $2 }
        NR > 1 && $3 { t[++n] = $1; m[n] = $3 - $4 - 8 * most }
        function median(from, to,   i, j, k, part) {
            for (i = from; i <= to; ++i) {
                for (j = ++k; j > 1 && part[j - 1] > m[i]; --j) part[j] = part[j - 1]
                part[j] = m[i]
            }
            return part[int((k + 1) / 2)]
        }
        END {
            sixth = n / 6
            minutes = (t[n] - t[1]) / 120
            printf "%d %d %d\n", median(int(2 * sixth) + 1, int(3 * sixth)),
                median(int(5 * sixth) + 1, n), 512 * minutes + slack + (minutes < 2 ? 7168 : 0)
        }' "$1"
}
