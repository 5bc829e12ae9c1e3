#!/usr/bin/env bash
# Writes a manual page of what a command prints about itself, so that the page cannot lag behind.
# Usage: scripts/manual.sh NAME SECTION SUMMARY DESCRIPTION COMMAND...     - for no description
set -euo pipefail
name=$1 section=$2 summary=$3 description=$4
shift 4
text=$(LC_ALL=C "$@")

# Sections are told by their headings, items by their indentation and two blanks before their text.
printf '%s\n' "${text//"$1"/${1##*/}}" | awk -v name="$name" -v section="$section" \
    -v summary="$summary" -v description="$description" '
function plain(line) {
    sub(/^ +/, "", line); sub(/ +$/, "", line)
    gsub(/\\/, "\\e", line); gsub(/-/, "\\-", line)
    return line ~ /^[.\x27]/ ? "\\&" line : line
}
function add(line) {
    if (!(now in pages)) order[++sections] = now
    pages[now] = pages[now] line "\n"
}
function begin(heading) { now = toupper(heading); item = 0 }
BEGIN { now = "DESCRIPTION"; if (description != "-") add(plain(description)) }
/^Usage:/ { begin("SYNOPSIS"); add(".nf"); add(plain(substr($0, 7))); usage = 1; next }
usage && /^ / { add(plain($0)); next }
usage { add(".fi"); usage = 0; begin("DESCRIPTION") }
/^Exit status/ { begin("EXIT STATUS"); sub(/^Exit status: */, "") }
/^[A-Z][A-Za-z]*:$/ { begin(substr($0, 1, length($0) - 1)); next }
/^Commands, / { begin("COMMANDS") }
/^[A-Za-z_]+\.cfg$/ { begin($0); next }
/^[a-z]+$/ { add(".SS " $0); headed = 1; next }
/^ *Options:$/ || /^$/ { item = 0; next }
/^ / && !headed && item != 2 && match($0, /[^ ] +/) || /^ +[-\[]/ {
    at = match($0, /[^ ]   *[^ ]/)
    add(".TP")
    if (at) { add(".B " plain(substr($0, 1, at))); add(plain(substr($0, at + 1))); item = 1 }
    else { add(".B " plain($0)); item = 2 }
    next
}
{ if (item && !/^ /) add(".PP"); add(plain($0)); item = 0; headed = 0 }
END {
    printf ".TH %s %s \"\" \"LobbyServer\" \"LobbyServer manual\"\n", toupper(name), section
    printf ".SH NAME\n%s \\- %s\n", name, summary
    printf "%s", pages["SYNOPSIS"] == "" ? "" : ".SH SYNOPSIS\n" pages["SYNOPSIS"]
    printf ".SH DESCRIPTION\n%s", pages["DESCRIPTION"]
    for (i = 1; i <= sections; ++i)
        if (order[i] !~ /^(SYNOPSIS|DESCRIPTION|EXIT STATUS)$/)
            printf ".SH %s\n%s", order[i], pages[order[i]]
    printf "%s", pages["EXIT STATUS"] == "" ? "" : ".SH EXIT STATUS\n" pages["EXIT STATUS"]
    print ".SH SEE ALSO\n.I /usr/share/doc/lobby\\-server/docs/operations.md"
}'
