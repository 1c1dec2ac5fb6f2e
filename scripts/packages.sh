# Sourced by the other scripts: installs the Debian packages that are missing, and only those.
#
#   need_packages NAME...

as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo --preserve-env=DEBIAN_FRONTEND "$@"; fi
}

need_packages() {
    local missing=() name
    for name in "$@"; do
        dpkg-query -W -f '${Status}' "$name" 2>/dev/null | grep -q '^install ok installed$' ||
            missing+=("$name")
    done
    [ ${#missing[@]} -eq 0 ] && return
    echo "Installing ${missing[*]}"
    DEBIAN_FRONTEND=noninteractive
    export DEBIAN_FRONTEND
    as_root apt-get install -y --no-install-recommends "${missing[@]}" >/dev/null 2>&1 || {
        as_root apt-get update >/dev/null
        as_root apt-get install -y --no-install-recommends "${missing[@]}" >/dev/null
    }
}

# What every build needs: compiler, CMake, Ninja, and the libraries behind the
# formats of pictures, movies and volumes.
need_build_packages() {
    need_packages g++ cmake ninja-build pkg-config libpng-dev libjpeg62-turbo-dev libtiff-dev \
        libavformat-dev libavcodec-dev libswscale-dev libavutil-dev libdcmtk-dev
}

# What the Python module needs.
need_python_packages() {
    need_packages python3-dev python3-numpy pybind11-dev
}

# What the viewer needs.
need_viewer_packages() {
    need_packages libsdl2-dev libimgui-dev
}
