# Sourced by the script-test tools: what truly varies in a session's output.
# A case whose counts vary (a timed transfer's primitives) names what
# varies in CASE.mask: sed -E expressions, one per line.
# usage: mask VERSION_LINE [CASE_MASK] < console > masked
mask() {
    local version_pattern extra=/dev/null
    version_pattern=$(printf '%s' "$1" | sed 's/[][\.*^$/]/\\&/g')
    [ -n "${2:-}" ] && [ -f "$2" ] && extra=$2
    sed -E -e 's/(Session (start|end) time is) [A-Z][a-z]{2} [A-Z][a-z]{2} [ 0-9][0-9] [0-9:]{8} [0-9]{4}$/\1 <TIME>/' \
           -e "s/^${version_pattern}\$/<VERSION>/" | sed -E -f "$extra"
}
