#!/usr/bin/env bash
# Checks what `cmake --install` and `cpack` make of the build: valid desktop and AppStream files,
# the programs answering --version, the manual page, bash completion, and a Debian package that
# holds both programs, depends on Debian's own packages and passes lintian.
#   install_tests.sh BUILD_DIR SOURCE_DIR VERSION TEST
# Exits 77 when a tool the test needs is missing, which CTest reports as skipped.
set -euo pipefail
build=$1 source=$2 version=$3 test=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() { echo "FAILED: $*" >&2; exit 1; }

# Makes the Debian package in the work folder and prints its path.
make_package() {
  (cd "$build" && cpack -G DEB -B "$work/package" >/dev/null)
  ls "$work/package/brightloom_${version}"-*_*.deb
}

# Every image the metainfo shows must be as large as it says, or software centres lay it out wrong.
check_screenshot_sizes() {
  local metainfo=$1 line name width height
  grep -q '<screenshot type="default">' "$metainfo" || fail "the metainfo has no default screenshot"
  while IFS= read -r line; do
    width=$(sed -n 's/.*width="\([0-9]*\)".*/\1/p' <<<"$line")
    height=$(sed -n 's/.*height="\([0-9]*\)".*/\1/p' <<<"$line")
    name=$(sed -n 's|.*/screenshots/\([^<]*\)</image>.*|\1|p' <<<"$line")
    [ -f "$source/docs/screenshots/$name" ] || fail "the metainfo shows $name, which docs/screenshots lacks"
    [ "$(png_size "$source/docs/screenshots/$name")" = "$width $height" ] \
      || fail "$name is $(png_size "$source/docs/screenshots/$name"), the metainfo says $width $height"
  done < <(grep '<image' "$metainfo")
}

# A PNG's width and height, from its header.
png_size() {
  od -An -tu1 -j16 -N8 "$1" | awk '{ print $1 * 16777216 + $2 * 65536 + $3 * 256 + $4, \
                                            $5 * 16777216 + $6 * 65536 + $7 * 256 + $8 }'
}

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
    check_screenshot_sizes "$build/dist/app.brightloom.Brightloom.metainfo.xml"
    ;;
  InstallPutsEverythingInPlace)
    cmake --install "$build" --prefix "$work/prefix" >/dev/null
    for file in bin/brightloom bin/brightloom-cli share/applications/app.brightloom.Brightloom.desktop \
                share/metainfo/app.brightloom.Brightloom.metainfo.xml share/man/man1/brightloom-cli.1.gz \
                share/man/man1/brightloom.1.gz share/zsh/vendor-completions/_brightloom-cli \
                share/fish/vendor_completions.d/brightloom-cli.fish \
                share/doc/brightloom/copyright share/doc/brightloom/changelog.Debian.gz \
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
    generated="$build/dist/commandline"
    for page in brightloom-cli brightloom; do
      man_text=$(MANWIDTH=100 man -l "$generated/$page.1" 2>/dev/null || groff -man -Tutf8 "$generated/$page.1")
      grep -q "^NAME" <<<"$man_text" || fail "the manual page $page.1 does not render"
      grep -q "ENVIRONMENT" <<<"$man_text" || fail "the manual page $page.1 has no environment"
    done
    bash -c "source '$generated/brightloom-cli.bash'; COMP_WORDS=(brightloom-cli fol); COMP_CWORD=1; \
             _brightloom_cli; [ \"\${COMPREPLY[*]}\" = follow ]" || fail "completion of a command"
    bash -c "source '$generated/brightloom-cli.bash'; COMP_WORDS=(brightloom-cli download --d); \
             COMP_CWORD=2; _brightloom_cli; [ \"\${COMPREPLY[*]}\" = --dmg ]" || fail "completion of an option"
    ;;
  DebianPackageHoldsBothProgramsAndDebianDependencies)
    deb=$(make_package)
    contents=$(dpkg-deb -c "$deb")
    grep -q '\./usr/bin/brightloom$' <<<"$contents" || fail "the package lacks the window"
    grep -q '\./usr/bin/brightloom-cli$' <<<"$contents" || fail "the package lacks the command line"
    depends=$(dpkg-deb -f "$deb" Depends)
    for package in libqt6widgets6 libqt6network6 libqt6dbus6 libqcoro6core0 libarchive13 qt6-qpa-plugins; do
      grep -q "$package" <<<"$depends" || fail "the package does not depend on $package: $depends"
    done
    recommends=$(dpkg-deb -f "$deb" Recommends)
    grep -qw 'qt6-wayland' <<<"$recommends" || fail "the package does not recommend qt6-wayland: $recommends"
    # Installed-Size is what the package puts on disk, stripped. CPack counts each directory at its
    # size on the build's file system (4 KiB on ext4) where dpkg-gencontrol counts 1 KiB, hence the range.
    installed=$(dpkg-deb -f "$deb" Installed-Size)
    read -r least most < <(dpkg-deb -c "$deb" | awk '$1 ~ /^-/ { bytes += $3 } $1 ~ /^d/ { dirs++ }
      END { print int(bytes / 1024), int((bytes + 1023) / 1024) + dirs * 4 + 1 }')
    if [ "$installed" -lt "$least" ] || [ "$installed" -gt "$most" ]; then
      fail "Installed-Size is $installed KiB, the files take $least to $most"
    fi
    root="$work/root"
    dpkg-deb -x "$deb" "$root"
    for program in brightloom brightloom-cli; do
      file -b "$root/usr/bin/$program" | grep -q ', stripped' || fail "$program is not stripped"
    done
    # The copyright file in the machine-readable format: every Files paragraph names its licence,
    # and every licence so named has a paragraph of its own that gives its text.
    copyright="$root/usr/share/doc/brightloom/copyright"
    [ -f "$copyright" ] || fail "the package has no copyright file"
    [ "$(head -n1 "$copyright")" = 'Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/' ] \
      || fail "the copyright file is not in the machine-readable format"
    awk 'BEGIN { RS = "" }
         /^Files:/ { files++; if (!match($0, /\nLicense: *[^ \n]+/)) { bad = bad " a Files paragraph without License"; next }
                     name = substr($0, RSTART + 9, RLENGTH - 9); sub(/^ */, "", name); named[name] = 1 }
         /^License:/ { split($0, lines, "\n"); sub(/^License: */, "", lines[1]); given[lines[1]] = 1 }
         END { if (!files) bad = bad " no Files paragraph"
               for (name in named) if (!(name in given)) bad = bad " no text for " name
               if (bad != "") { print "the copyright file has" bad; exit 1 } }' "$copyright" \
      || fail "the copyright file is not valid"
    changelog="$root/usr/share/doc/brightloom/changelog.Debian.gz"
    gzip -t "$changelog" || fail "changelog.Debian.gz is not a valid gzip file"
    package_version=$(dpkg-deb -f "$deb" Version)
    [ "$(gzip -dc "$changelog" | head -n1 | sed -n 's/^brightloom (\([^)]*\)).*/\1/p')" = "$package_version" ] \
      || fail "the changelog's newest entry is not for the package's version $package_version"
    [ "${package_version%-*}" = "$version" ] || fail "the package's version $package_version is not $version"
    pages=$(find "$root/usr/share/man" -type f)
    grep -q '/man1/brightloom-cli\.1\.gz$' <<<"$pages" || fail "the package lacks brightloom-cli.1.gz"
    while IFS= read -r page; do
      case "$page" in *.gz) gzip -t "$page" || fail "$page is not a valid gzip file" ;;
                      *) fail "the manual page $page is not compressed" ;; esac
    done <<<"$pages"
    ;;
  DebianPackagePassesLintian)
    command -v lintian >/dev/null || { echo "SKIPPED: lintian is not installed (scripts/setup installs it)"; exit 77; }
    deb=$(make_package)
    # Info and pedantic tags are hidden unless asked for; the package's own overrides still count.
    lintian --display-info --pedantic --fail-on error,warning,info,pedantic "$deb" \
      || fail "lintian finds fault with the package (its tags are above)"
    ;;
  *) fail "unknown test $test" ;;
esac
