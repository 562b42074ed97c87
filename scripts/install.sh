#!/usr/bin/env bash
# Builds (through bootstrap.sh, which also installs the packages) and installs, for
# the current user, the plug-ins in ~/.lv2, ~/.vst3 and ~/.clap (with the factory
# presets as VST3 preset files in ~/.vst3/presets/Zkmorva), the JACK apps and
# the zkmorva renderer in ~/.local/bin, and the manual in
# ~/.local/share/doc/zkmorva-eq/manual, where the editors' help pages find it. Set
# ZK_BUILD_DIR to use another build folder, PREFIX_HOME to install somewhere other
# than $HOME.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
top=$(dirname "$here")
build_dir=${ZK_BUILD_DIR:-$top/build}
dest=${PREFIX_HOME:-$HOME}

ZK_BUILD_DIR=$build_dir "$here/bootstrap.sh" -DZK_BUILD_PLUGINS=ON
bin=$build_dir/bin
plugins=(zkmorva10-mono zkmorva10-stereo zkmorva20)

mkdir -p "$dest/.lv2" "$dest/.vst3" "$dest/.clap" "$dest/.local/bin"
for p in "${plugins[@]}"; do
    for bundle in "$p.lv2" "$p.vst3"; do
        kind=${bundle##*.}
        [ -d "$bin/$bundle" ] || { echo "install: $bin/$bundle was not built" >&2; exit 1; }
        rm -rf "${dest:?}/.$kind/$bundle"
        cp -R "$bin/$bundle" "$dest/.$kind/"
    done
    install -m 755 "$bin/$p.clap" "$dest/.clap/$p.clap"
    install -m 755 "$bin/$p" "$dest/.local/bin/$p"
done
if [ -d "$bin/vst3-presets/Zkmorva" ]; then
    rm -rf "${dest:?}/.vst3/presets/Zkmorva"
    mkdir -p "$dest/.vst3/presets"
    cp -R "$bin/vst3-presets/Zkmorva" "$dest/.vst3/presets/"
fi
manual=$dest/.local/share/doc/zkmorva-eq/manual
rm -rf "$manual"
mkdir -p "$manual"
cp -R "$top/resources/manual/." "$manual/"
installed="LV2, VST3, CLAP and JACK apps of ${plugins[*]}, the manual"
renderer=$(find "$build_dir" -maxdepth 3 -type f -name zkmorva -perm -u+x 2>/dev/null | head -1)
if [ -n "$renderer" ]; then
    install -m 755 "$renderer" "$dest/.local/bin/zkmorva"
    installed="$installed, and the zkmorva renderer"
fi
echo "install: $installed, under $dest"
