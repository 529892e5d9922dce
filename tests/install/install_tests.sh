#!/usr/bin/env bash
# Checks what `cmake --install` and `cpack` make of the build: valid desktop and AppStream files,
# the programs answering --version, the manual page, bash completion, and a Debian package that
# holds both programs and depends on Debian's own packages.
#   install_tests.sh BUILD_DIR SOURCE_DIR VERSION TEST
set -euo pipefail
build=$1 source=$2 version=$3 test=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() { echo "FAILED: $*" >&2; exit 1; }

case "$test" in
  DesktopFileIsValid)
    desktop-file-validate "$source/dist/app.brightloom.Brightloom.desktop"
    grep -qx 'MimeType=x-scheme-handler/brightloom;' "$source/dist/app.brightloom.Brightloom.desktop" \
      || fail "the desktop file does not claim brightloom:// addresses"
    grep -qx 'Exec=brightloom %u' "$source/dist/app.brightloom.Brightloom.desktop" \
      || fail "the desktop file does not pass the address on"
    ;;
  MetainfoIsValid)
    appstreamcli validate --no-net "$build/dist/app.brightloom.Brightloom.metainfo.xml"
    grep -q "release version=\"$version\"" "$build/dist/app.brightloom.Brightloom.metainfo.xml" \
      || fail "the metainfo does not name this version"
    ;;
  InstallPutsEverythingInPlace)
    cmake --install "$build" --prefix "$work/prefix" >/dev/null
    for file in bin/brightloom bin/brightloom-cli share/applications/app.brightloom.Brightloom.desktop \
                share/metainfo/app.brightloom.Brightloom.metainfo.xml share/man/man1/brightloom-cli.1 \
                share/bash-completion/completions/brightloom-cli \
                share/icons/hicolor/256x256/apps/app.brightloom.Brightloom.png \
                share/icons/hicolor/16x16/apps/app.brightloom.Brightloom.png; do
      [ -e "$work/prefix/$file" ] || fail "$file is not installed"
    done
    [ "$("$work/prefix/bin/brightloom" --version)" = "brightloom $version" ] || fail "brightloom --version"
    [ "$("$work/prefix/bin/brightloom-cli" --version)" = "brightloom-cli $version" ] || fail "brightloom-cli --version"
    # The developer's own tools are not installed.
    [ ! -e "$work/prefix/bin/brightloom-devserver" ] || fail "the stand-in service was installed"
    ;;
  ManualPageAndCompletionWork)
    man_text=$(MANWIDTH=100 man -l "$source/dist/brightloom-cli.1" 2>/dev/null || groff -man -Tutf8 "$source/dist/brightloom-cli.1")
    grep -q "brightloom-cli" <<<"$man_text" || fail "the manual page does not render"
    bash -c "source '$source/dist/brightloom-cli.bash-completion'; COMP_WORDS=(brightloom-cli fol); COMP_CWORD=1; \
             _brightloom_cli; [ \"\${COMPREPLY[*]}\" = follow ]" || fail "completion of a command"
    bash -c "source '$source/dist/brightloom-cli.bash-completion'; COMP_WORDS=(brightloom-cli download --d); \
             COMP_CWORD=2; _brightloom_cli; [ \"\${COMPREPLY[*]}\" = --dmg ]" || fail "completion of an option"
    ;;
  DebianPackageHoldsBothProgramsAndDebianDependencies)
    (cd "$build" && cpack -G DEB -B "$work/package" >/dev/null)
    deb=$(ls "$work/package/brightloom_${version}"_*.deb)
    contents=$(dpkg-deb -c "$deb")
    grep -q '\./usr/bin/brightloom$' <<<"$contents" || fail "the package lacks the window"
    grep -q '\./usr/bin/brightloom-cli$' <<<"$contents" || fail "the package lacks the command line"
    depends=$(dpkg-deb -f "$deb" Depends)
    for package in libqt6widgets6 libqt6network6 libqt6dbus6 libqcoro6core0 libarchive13 qt6-qpa-plugins; do
      grep -q "$package" <<<"$depends" || fail "the package does not depend on $package: $depends"
    done
    ;;
  *) fail "unknown test $test" ;;
esac
