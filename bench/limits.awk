# Holds instruction counts to their limits: columns floor and ours for all calls, number of calls, rows that each
# reads, name. Prints the table and exits 1 when a limit is broken. A call below `small` may be `extra` above its floor,
# or `extraOfBackup` where it forms the paths of a backup; the others are held to ratios, each and in their geometric
# mean.
BEGIN {
    small = 20000; extra = 400; extraOfBackup = 2500; worst = 1.04; mean = 1.01
    print "Instructions of one call, or for one row of a list:"
    print ""
    printf "| %-40s | %11s | %11s | %7s | %6s | %-11s |\n", "operation", "floor", "ours", "more", "ratio", "limit"
    print "|---|---:|---:|---:|---:|---|"
}
function verdict(limit, held)
{
    broken += !held
    return held ? limit : limit " BROKEN"
}
{
    floor = $1 / $3; ours = $2 / $3; ratio = ours / floor
    byRatio = floor >= small
    allowed = $5 ~ /commit nothing, payload/ ? extraOfBackup : extra
    if (byRatio) { logarithms += log(ratio); ratios++ }
    printf "| %-40s | %11.0f | %11.0f | %7.0f | %6.4f | %-11s |\n",
        $5, floor / $4, ours / $4, (ours - floor) / $4, ratio,
        byRatio ? verdict("ratio " worst, ratio <= worst) : verdict(allowed " more", ours - floor <= allowed)
}
END {
    average = exp(logarithms / ratios)
    printf "\nGeometric mean of the %d rows held to ratios: %.4f (limit " mean "%s).\n", ratios, average,
        verdict("", average <= mean)
    exit broken > 0
}
