#!/usr/bin/env bash
# scripts/format_ratios.sh: the format engine beside its contestants, in instructions for each text. The ratio is to
# the better {fmt} case; exits with 1 when its geometric mean is above 0.45 or a case is above 0.7.
out=$("$(dirname "$0")/count.sh" format_bench) || { echo "$out"; exit 1; }
echo "$out" | awk -F'[/ ]+' '
    { n[$1 "/" $3, $2] = $4 / 1000; if (!(($1 "/" $3) in seen)) { seen[$1 "/" $3]; order[++cases] = $1 "/" $3 } }
    END {
        printf "%-20s %8s %8s %9s %9s %9s %7s\n", "case", "engine", "fmt", "fmt_parts", "snprintf", "ostream", "ratio"
        for (i = 1; i <= cases; ++i) {
            c = order[i]
            best = n[c, "fmt"] < n[c, "fmt_parts"] ? n[c, "fmt"] : n[c, "fmt_parts"]
            ratio = n[c, "engine"] / best
            sum += log(ratio)
            if (ratio > worst) worst = ratio
            printf "%-20s %8.0f %8.0f %9.0f %9.0f %9.0f %7.2f\n", c, n[c, "engine"], n[c, "fmt"],
                n[c, "fmt_parts"], n[c, "snprintf"], n[c, "ostringstream"], ratio
        }
        mean = exp(sum / cases)
        printf "geometric mean %.3f, worst %.2f\n", mean, worst
        exit !(mean <= 0.45 && worst <= 0.7)
    }'
