# Shared by the build, run and test scripts. Source it; do not run it.
repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export CCACHE_NOHASHDIR=1 CCACHE_BASEDIR="$repo" CCACHE_MAXSIZE=${CCACHE_MAXSIZE:-5G}
# JUCE's core stamps the build date in: without this ccache compiles it again in every tree.
export CCACHE_SLOPPINESS=${CCACHE_SLOPPINESS:-time_macros}
jobs=$(nproc)

# configure_and_build DIR [cmake args...]: an incremental Ninja build in DIR.
configure_and_build() {
  local dir=$1; shift
  if [ ! -f "$dir/build.ninja" ]; then
    cmake -S "$repo" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache "$@" >/dev/null
  fi
  cmake --build "$dir" -j "$jobs"
}

linux_build=${VELTRANO_LINUX_BUILD:-$repo/build/linux}
windows_build=${VELTRANO_WINDOWS_BUILD:-$repo/build/windows}
wine_prefix=${VELTRANO_WINE_PREFIX:-$repo/build/wine-prefix}
