# Sourced by the script-test tools: what truly varies in a session's output.
# usage: mask VERSION_LINE < console > masked
mask() {
    local version_pattern
    version_pattern=$(printf '%s' "$1" | sed 's/[][\.*^$/]/\\&/g')
    sed -E -e 's/(Session (start|end) time is) [A-Z][a-z]{2} [A-Z][a-z]{2} [ 0-9][0-9] [0-9:]{8} [0-9]{4}$/\1 <TIME>/' \
           -e "s/^${version_pattern}\$/<VERSION>/"
}
