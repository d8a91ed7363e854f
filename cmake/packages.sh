#!/bin/bash
# Sourced by demo and check, which set tavrin_root. Installs the missing packages of cmake/packages.txt.

# tavrin_packages SECTION...: the names in these sections, one per line.
tavrin_packages() {
  awk -v wanted=" $* " '
    /^\[/ { name = substr($1, 2, length($1) - 2); on = index(wanted, " " name " ") > 0; next }
    on && NF && $1 !~ /^#/ { print $1 }' "$tavrin_root/cmake/packages.txt"
}

# tavrin_missing_packages SECTION...: the names of those that are not installed, on one line.
tavrin_missing_packages() {
  local name missing=()
  for name in $(tavrin_packages "$@"); do
    dpkg-query -W -f '${db:Status-Status}\n' "$name" 2>/dev/null | grep -qx installed || missing+=("$name")
  done
  echo "${missing[*]-}"
}

# tavrin_install_packages SECTION...: installs without questions. On failure it prints what to do and returns 1.
tavrin_install_packages() {
  local missing as_root=()
  if ! command -v dpkg-query >/dev/null; then
    echo "dpkg is missing. Install the packages of cmake/packages.txt by hand." >&2
    return 0
  fi
  missing=$(tavrin_missing_packages "$@")
  [ -n "$missing" ] || return 0
  echo "Installing with apt: $missing"
  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null || ! sudo -n true 2>/dev/null; then
      echo "Packages are missing and root rights need a password. Run: sudo apt-get install $missing" >&2
      return 1
    fi
    as_root=(sudo -n)
  fi
  local apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=300)
  "${apt[@]}" update </dev/null || echo "apt-get update failed; using the existing package lists." >&2
  local policy='' status=0
  # The tests start the servers, so the packages must not start services. See invoke-rc.d(8).
  if [ ! -e /usr/sbin/policy-rc.d ]; then
    policy=/usr/sbin/policy-rc.d
    printf '#!/bin/sh\nexit 101\n' | "${as_root[@]}" tee "$policy" >/dev/null && "${as_root[@]}" chmod 755 "$policy"
  fi
  # shellcheck disable=SC2086 # the list is meant to be split
  "${apt[@]}" install -y --no-install-recommends $missing </dev/null || status=1
  [ -z "$policy" ] || "${as_root[@]}" rm -f "$policy"
  [ "$status" -eq 0 ] || echo "apt-get could not install: $missing" >&2
  return "$status"
}
