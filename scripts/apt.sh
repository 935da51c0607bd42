# Sourced by the scripts that use apt: as root if needed, without questions, and with no server named in the output.

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        echo "Packages are installed as root: install sudo, or run scripts/setup as root." >&2
        return 1
    fi
}

# Prints the standard input without the names of servers.
without_servers() { sed -E 's#[a-z+]+://[^ /]+#(server)#g; s#(connect to|resolve|from) .?[A-Za-z0-9-]+(\.[A-Za-z0-9-]+)+.?(:[a-z0-9]+)?#\1 (server)#g'; }

# apt_get ARGUMENTS...: the system's apt-get, quiet unless it fails.
apt_get() {
    local log status=0
    log=$(mktemp)
    as_root env DEBIAN_FRONTEND=noninteractive LC_ALL=C \
        apt-get -qq -o DPkg::Lock::Timeout=300 -o Dpkg::Use-Pty=0 "$@" </dev/null >"$log" 2>&1 || status=$?
    [ "$status" -eq 0 ] || without_servers <"$log" >&2
    rm -f "$log"
    return "$status"
}

# apt_indexes OPTIONS...: apt's lists of packages, as "apt-get indextargets" prints them. A slim image has none: they are fetched then.
apt_indexes() {
    local found
    found=$(apt-get indextargets "$@")
    [ -n "$found" ] || { apt_get update && found=$(apt-get indextargets "$@"); } || return
    printf '%s\n' "$found"
}

# apt_download PACKAGE DIRECTORY: downloads the package's file without installing it. Fetches the lists if none contains it.
apt_download() {
    if ! apt-cache show "$1" >/dev/null 2>&1; then apt_get update || return; fi
    (cd "$2" && LC_ALL=C apt-get -qq -o APT::Sandbox::User=root download "$1" </dev/null 2>&1) | without_servers >&2
    return "${PIPESTATUS[0]}"
}
