#!/usr/bin/env bash
# Holds the #include "..." lines of the sources against the layers: who may call whom. Usage: layers.sh ROOT
set -euo pipefail
cd "$1"

# Area of a file: its folder below src, or its name where src itself is the folder.
area() {
    case $1 in
    sound/*) echo sound ;;
    src/glm/*) echo glm ;;
    src/scenes/*) echo scenes ;;
    src/*) basename "${1%.*}" ;;
    esac
}

# The areas whose headers an area may include, besides its own.
declare -A may=(
    [main]="scenes ryl textures fbo picture layers glm frame_timer"
    [scenes]="ryl lighting noise ryl_math frame_timer"
    [ryl]="ryl_sound system textures endings"
    [ryl_sound]="sound"
    [fonts]="textures"
    [shader]="system"
    [textures]="picture png_writer system"
    [models]="system"
    [noise]="ryl_math"
    [layers]="picture"
    [picture]="" [png_writer]="" [fbo]="" [lighting]="" [ryl_math]="" [system]="" [endings]="" [frame_timer]=""
    [glm]="" [sound]=""
)

wrong=0
checked=0
while IFS=: read -r file line; do
    from=$(area "$file")
    header=${line#*\"}
    header=${header%%\"*}
    case $file in sound/*) to=sound ;; *) to=$(area "src/$header") ;; esac
    [ "$header" = fmod.h ] && to=sound
    checked=$((checked + 1))
    [ "$from" = "$to" ] && continue
    case " ${may[$from]-} " in
    *" $to "*) ;;
    *) echo "$file: $from may not include \"$header\"" && wrong=1 ;;
    esac
done < <(grep -rn --include='*.cpp' --include='*.h' '^#include "' src sound | sed 's/:[0-9]*:/:/')
[ "$checked" -gt 50 ] || { echo "only $checked includes found"; exit 1; }
exit $wrong
