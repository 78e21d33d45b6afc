#!/usr/bin/env bash
# Makes the pictures of the documents anew: the page as the demonstration leaves it, what vtprint says of the certificate
# that was enrolled there, and the drawings of the rooms and of an enrolment.
#
#   docs/pictures/make.sh            runs scripts/demo.sh first
#   docs/pictures/make.sh --again    takes what the last demonstration left in build/demo/results
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
results=build/demo/results
pictures=docs/pictures

[[ ${1:-} == --again ]] || scripts/demo.sh
cmake --build --preset native --target vtprint >/dev/null

# Left, top, width and height, in pixels of the window: the page's column with some ground around it.
python3 -B $pictures/crop_png.py $results/1-choose.png $pictures/page-choose.png 95 0 776 848
python3 -B $pictures/crop_png.py $results/5-page.png $pictures/page-installed.png 102 0 776 736
build/native/bin/vtprint $results/certificate.pem | head -n 34 |
    python3 -B $pictures/terminal.py "vtprint certificate.pem | head -n 34" >$pictures/vtprint.svg
python3 -B $pictures/rooms.py >$pictures/rooms.svg
python3 -B $pictures/enrolment.py >$pictures/enrolment.svg
