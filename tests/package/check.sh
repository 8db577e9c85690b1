#!/usr/bin/env bash
# Installs the build tree into a temporary prefix and builds and runs a small application
# against it through find_package(ostradb) and through pkg-config.
set -euo pipefail
build_dir=$1
source_dir=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
cmake -S "$source_dir" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/consumer" >/dev/null
LD_LIBRARY_PATH="$work/prefix/lib" "$work/consumer/c" | grep -qx ok
"$work/consumer/cs" | grep -qx ok
PKG_CONFIG_PATH="$work/prefix/lib/pkgconfig" pkg-config --exists ostradb
flags=$(PKG_CONFIG_PATH="$work/prefix/lib/pkgconfig" pkg-config --cflags --libs ostradb)
# shellcheck disable=SC2086
c++ -std=c++20 "$source_dir/main.cpp" -o "$work/pc" $flags -licuuc -licui18n -lcrypto -lsimpleini
LD_LIBRARY_PATH="$work/prefix/lib" "$work/pc" | grep -qx ok

# The README's example against a sandbox of the same build, when it is built.
sandbox="$build_dir/sandbox/ostradb-sandbox"
if [ -x "$sandbox" ]; then
  "$sandbox" --data "$work/data" --port 0 --quiet >"$work/port" &
  sandbox_pid=$!
  trap 'kill "$sandbox_pid" 2>/dev/null; wait "$sandbox_pid" 2>/dev/null; rm -rf "$work"' EXIT
  for _ in $(seq 100); do [ -s "$work/port" ] && break; sleep 0.1; done
  port=$(head -n1 "$work/port")
  OSTRADB_HOST=127.0.0.1 OSTRADB_PORT=$port OSTRADB_USER=admin OSTRADB_PASSWORD=admin \
    OSTRADB_CONFIG_DIR="$work" LD_LIBRARY_PATH="$work/prefix/lib" \
    "$work/consumer/databases" >"$work/databases.txt"
  grep -q $'\tNorth Sea Demo\t/Field/Well/Survey$' "$work/databases.txt"
  LD_LIBRARY_PATH="$work/prefix/lib" "$work/consumer/tour" 127.0.0.1 "$port" >"$work/tour.txt"
  grep -q 'removed the copy; still logged in as admin$' "$work/tour.txt"
fi

# The Python package, when it is built, imports from the installed tree.
python=$(sed -n 's/^Python3_EXECUTABLE:FILEPATH=//p' "$build_dir/CMakeCache.txt")
for dir in "$work"/prefix/lib/python3*/*-packages; do
  if [ -d "$dir/ostradb" ]; then
    PYTHONPATH="$dir" "$python" -c "import ostradb; ostradb.TOstraDbProtocol()"
  fi
done
# The manual page (when help2man made one) and the completion scripts are installed with the
# client.
if [ -f "$build_dir/cli/ostradb.1" ]; then
  grep -q '^\.SH SUBCOMMANDS' "$work/prefix/share/man/man1/ostradb.1"
fi
if [ -x "$build_dir/cli/ostradb" ]; then
  grep -q '^complete -F _ostradb ostradb$' "$work/prefix/share/bash-completion/completions/ostradb"
  grep -q '^#compdef ostradb$' "$work/prefix/share/zsh/vendor-completions/_ostradb"
fi
echo "package ok"
