#!/bin/sh
# Makes sample.pdf of sample.ps: fonts embedded, and the same bytes every time. Page 3 takes a few seconds.
cd "$(dirname "$0")" && gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=pdfwrite -dCompatibilityLevel=1.4 -dEmbedAllFonts=true \
  -dOmitInfoDate=true -dOmitID=true -dOmitXMP=true -sOutputFile=sample.pdf sample.ps
