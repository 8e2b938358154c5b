# To be sourced: where Debian systems for tests come from.

# The Debian archive that this machine itself uses; on another system nothing, and debootstrap's own default serves.
mirror() {
    local codename
    codename=$(. /etc/os-release && [ "$ID" = debian ] && echo "$VERSION_CODENAME") || return 0
    apt-get indextargets --format '$(RELEASE) $(COMPONENT) $(REPO_URI)' 'Created-By: Packages' 2>/dev/null |
        awk -v codename="$codename" '$1 == codename && $2 == "main" { print $3; exit }'
}

# Whoever fetches through a proxy by apt's settings does so for the new system too.
useProxy() {
    local proxy=
    eval "$(apt-config shell proxy Acquire::http::Proxy 2>/dev/null)"
    [ -z "$proxy" ] || export http_proxy="$proxy"
}
