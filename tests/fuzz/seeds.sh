#!/usr/bin/env bash
# Writes the inputs that fuzzing starts from: seeds.sh FOLDER makes a folder in it for each target. Each fault that is
# mended gets its input here.
set -euo pipefail
mkdir -p "$1"/{back,lines,mp3,obj,operations,png,ppm,probe,tga,tracks}
cd "$1"

images=(-frames:v 1 ppm/image.ppm -frames:v 1 -pix_fmt rgb24 -flags ildct png/interlaced.png)
for format in pal8 gray ya8 rgb24 rgba monob gray16be; do
    images+=(-frames:v 1 -pix_fmt "$format" "png/$format.png")
done
for format in bgr24 bgra; do images+=(-frames:v 1 -rle 0 -pix_fmt "$format" "tga/$format.tga"); done
ffmpeg -v error -y -f lavfi -i testsrc=size=9x5 "${images[@]}"
ffmpeg -v error -y -f lavfi -i anoisesrc -t 0.1 -ar 44100 -b:a 32k mp3/44100.mp3 -t 0.1 -ar 22050 mp3/22050.mp3 \
    -t 0.1 -ar 8000 -ac 2 -write_xing 0 -id3v2_version 0 mp3/bare.mp3

printf 'P6\n# c\n 1\n2\n\n255 x\n123456' >ppm/lines.ppm
printf 'x mtllib file.mtl\nnewmtl a\n' >probe/itself.obj
printf '.mtl mtllib\n' >probe/early.obj
for i in 1 2 3 4; do seq "$i" 999 | gzip -n | tail -c +20 | head -c 200 >operations/$i; done

printf 'tempo 120\ntrack a # c\n0 1\n1 2 linear\n4 -1e3 smooth\n9 .5 ramp\ntrack b\n-1 0\n' >tracks/curves

points='v 0 0 0\nv 1.5 0 -1\nv 0 +1000 0.25\nv 1 1 1 1\nvn 0 0 1\nvt 0 1\nvt .5\n'
printf "%b" "${points}g o b\nf 1 2 3\ng b\nf 1//1 2//-1 3//1 4//1\ns 1\nf 1/1 2/2 3/1#\n" >obj/forms.obj
printf "%b" "${points}f 1/1/1 2/2/1\n3/1/1 f 1 2 3\r\ng\r\no x\nf 4 3\n2 1 +1\n" >obj/lines.obj
printf "%b" "mtllib m.mtl\nv 1 2 3\nusemtl b\nf 1 1 1\n\035Kd 1 0 0\nnewmtl a\nKa 1 1 1\nKs 1 1 1\nNs 50 d .5\n" \
    "illum 1\nrefl x\nNi 1\ndisp normal.png\nnewmtl b\nmap_Kd m.mtl\nmap_Ka y\nTr 1\n" >obj/materials.obj
printf "%b" "v 0 0 0\nvt .5-g o b\nf 1 1 1\ng o b\n" >obj/sign.obj
printf "%b" "${points}vnt 1 2 3\nv 5 5 5 unused b\nf 1b 2 3 4cd\nf 1/1/ 2/1 3/1 /\n" >obj/behind.obj
printf "%b" "${points}f $(printf '3/1/1 4/2/1 %.0s' {1..150})\n" >obj/fan.obj

printf "%b" "mtllib m.mtl\no A\nv 0 0 0 1 0 0\nv 1 0 0\nv 0 1e30 -.5\nvn 0 0 1\nvt 1\nf 1 2 3\ns 1\nusemtl b c\ng x\nf 1/1 2//1 -1/1/1\n" \
    "p 1 2\nl 1/1 3\no B\nusemtl default\ns off\nf 3 2 1 3\ng y\n\035newmtl b c\nKd 1 0 0\nNs 33.3\nmap_Kd -s 2 2 a\\\\b c.png\n" \
    "bump -bm .3 m.mtl\nKe 1\nfoo bar\nd .3\nillum 2\nnewmtl default\nTr .1\nPr .3\nrefl -type sphere x\nKs xyz 1 1 1\n" >back/all.obj
cp back/all.obj back/late.obj && printf "%b" "\ng x\nusemtl b c\nmtllib m.mtl gone.mtl\np -1\ng\nusemtl\nf 1 1 1" >>back/late.obj
printf "%b" "mtllib m.mtl\r\nv nan inf -0\rg a\\\\\r\n b # c\nf 1 1 1\nusemtl \\\\\nc #1\nf 1 1 1 1\no\n\035newmtl c #1\r\nd 0\\\\\n\x1fKd 1\n" >back/lines.obj
printf "%b" "\\0${points}g a b\\nf -1//-1 2/-2 3/1/1 4//#c\\no x\\ns 1\\nusemtl red y\\nl 1 2\\\\\\n 3\\np 4\\nmtllib m.mtl a b.mtl\\n\\035newmtl red y\\n" \
    >lines/states.obj
printf "%b" "\\02${points}f 4 3 2 1\\r\\ncurv 1\\rv 1 2 3 .1 .2 .3\\n# \\\\\\nf 1 2 3 1 # \\\\\\r\\nf 1 2\\n" >lines/ends.obj
printf "%b" "\\0\\xef\\xbb\\xbf${points}f 1/0 2/9 3 4 2 1\\ns off\\nfoo\\ng\\nv 1e9 0x1p3 -1.#IND\\nf 99999999999 1 1\\n" >lines/rare.obj
printf "%b" "\\01${points}f 1 2 3 4\\n" >lines/strict.obj
