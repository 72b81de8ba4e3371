# What scripts/demo and scripts/test share: the packages of Debian 12 that they need, and the build.
# To be sourced from the project's folder.

packages=(
  g++ cmake ninja-build ccache pkg-config clang-format
  libxerces-c-dev libicu-dev libsqlite3-dev libffi-dev libcli11-dev nlohmann-json3-dev
  libgtest-dev libbenchmark-dev
  iso-codes shared-mime-info libxml2-utils sqlite3
  libxml2-dev unzip genius-common xmltooling-schemas ssg-debian
)

is_installed() {
  [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# Installs the packages that are not there yet; asks apt-get nothing when all are.
install_packages() {
  local missing=() package
  for package in "$@"; do
    is_installed "$package" || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  local as_root=()
  [ "$(id -u)" -eq 0 ] || as_root=(sudo)
  echo "Installing: ${missing[*]}"
  "${as_root[@]}" apt-get update -q
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -q -y --no-install-recommends "${missing[@]}"
}

# Configures a preset and builds it, or only the targets named after it.
build() {
  local preset=$1
  shift
  cmake --preset "$preset"
  cmake --build --preset "$preset" ${1:+--target "$@"}
}
