# Prints the functions that are longer than `most` lines, laid out as the formatter does it; ends
# with 1 when there are any.
FNR == 1 { start = 0 }
/^}/ && start {
    if (FNR - start - 1 > most) {
        print FILENAME ":" start ": " FNR - start - 1 " lines"
        bad = 1
    }
    start = 0
}
/^[^ \t#}].*[^=]\{$/ && !/^(namespace|class|struct|enum|union|extern|inline constexpr|constexpr|const|static const)/ {
    if (!start) start = FNR
}
# The last line of a head that takes several.
/^ .*\) (const )?(noexcept )?\{$/ && !start && before ~ /^[A-Za-z].*[(,]$/ { start = FNR }
{ before = $0 }
END { exit bad }
