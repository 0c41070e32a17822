#!/bin/bash
# Prints where the system takes Debian's packages from, as lines of a list of apt's that begin with the given words:
# debian_places.sh WORDS
set -euo pipefail
format="$1 \$(REPO_URI) \$(RELEASE) \$(COMPONENT)"
# Who publishes what a place has stands in its lists.
places() {
  apt-get "$@" indextargets --format "$format" 'Created-By: Packages' 'Origin: Debian' 'Component: main' | sort -u
}

found=$(places)
if [ -z "$found" ]; then
  # The system has no lists, as in a new container.
  own=$(mktemp -d)
  trap 'rm -rf "$own"' EXIT
  mkdir -p "$own"/{lists/partial,archives/partial}
  options=(-q -o "Dir::State::lists=$own/lists" -o "Dir::Cache=$own" -o APT::Sandbox::User="")
  apt-get "${options[@]}" update >"$own/log" 2>&1 || true
  found=$(places "${options[@]}")
  [ -n "$found" ] || { cat "$own/log" >&2; echo "Nothing is known of where Debian's packages are." >&2; exit 1; }
fi
echo "$found"
