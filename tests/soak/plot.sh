#!/usr/bin/env bash
# Draws the descriptors and the memory of a soak, with its faults as ticks, as an SVG picture.
# Usage: plot.sh SAMPLES.csv FAULTS.txt
set -euo pipefail
awk -F, -v faults="$2" '
    NR == 1 || $3 == "" { next }
    { t[++n] = $1; f[n] = $2; m[n] = $3 / 1024; b[n] = $4 / 1024
      if ($1 > tMax) tMax = $1
      if ($2 > fMax) fMax = $2
      if (m[n] > mMax) mMax = m[n] }
    function curve(y, max, top, colour,   i, points) {
        for (i = 1; i <= n; ++i)
            points = points sprintf("%.1f,%.1f ", 60 + 880 * t[i] / tMax, top + 180 - 170 * y[i] / max)
        printf "<polyline fill=\"none\" stroke=\"%s\" stroke-width=\"1.5\" points=\"%s\"/>\n", colour, points
    }
    function axis(top, title, max) {
        printf "<rect x=\"60\" y=\"%d\" width=\"880\" height=\"180\" fill=\"none\" stroke=\"#999\"/>\n", top
        printf "<text x=\"60\" y=\"%d\">%s</text>\n", top - 6, title
        printf "<text x=\"54\" y=\"%d\" text-anchor=\"end\">%d</text>\n", top + 16, max
        printf "<text x=\"54\" y=\"%d\" text-anchor=\"end\">0</text>\n", top + 180
    }
    END {
        if (n == 0) exit
        tMax += tMax == 0; fMax += fMax == 0; mMax += mMax == 0
        print "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 960 470\" font-family=\"sans-serif\" font-size=\"12\">"
        print "<rect width=\"960\" height=\"470\" fill=\"white\"/>"
        axis(30, "descriptors", fMax); axis(250, "resident memory and, paler, what is buffers of it, MiB", mMax)
        while ((getline line < faults) > 0) {
            split(line, part, " ")
            x = 60 + 880 * part[1] / tMax
            printf "<line x1=\"%.1f\" x2=\"%.1f\" y1=\"30\" y2=\"430\" stroke=\"#fbb\"><title>%s</title></line>\n", x, x, line
        }
        curve(f, fMax, 30, "#06c"); curve(m, mMax, 250, "#080"); curve(b, mMax, 250, "#9c9")
        printf "<text x=\"940\" y=\"448\" text-anchor=\"end\">%d s; pale lines are faults</text>\n</svg>\n", tMax
    }' "$1"
