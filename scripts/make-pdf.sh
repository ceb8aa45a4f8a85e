# shellcheck shell=bash
# Sourced by the demo and the print service's shell tests: a small, valid
# PDF made without any tool (A4 pages with one line of text each, Helvetica,
# a correct cross-reference table), so that the page counter has a real
# document to count.
#
#   make_pdf FILE PAGES [TEXT]   each page reads "TEXT - page N of PAGES"

make_pdf() { # FILE PAGES [TEXT]
  local file=$1 pages=$2 text=${3:-OrvprintD} LC_ALL=C
  local body="" kids="" i obj stream
  local -a offsets=()
  local header=$'%PDF-1.4\n%\xe2\xe3\xcf\xd3\n'
  add_object() { # NUMBER TEXT
    offsets[$1]=$(( ${#header} + ${#body} ))
    body+="$1 0 obj"$'\n'"$2"$'\n'"endobj"$'\n'
  }
  for ((i = 0; i < pages; i++)); do kids+="$((4 + 2 * i)) 0 R "; done
  add_object 1 "<< /Type /Catalog /Pages 2 0 R >>"
  add_object 2 "<< /Type /Pages /Kids [ ${kids}] /Count $pages >>"
  add_object 3 "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"
  for ((i = 0; i < pages; i++)); do
    obj=$((4 + 2 * i))
    stream="BT /F1 24 Tf 72 760 Td ($text - page $((i + 1)) of $pages) Tj ET"
    add_object "$obj" "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Resources << /Font << /F1 3 0 R >> >> /Contents $((obj + 1)) 0 R >>"
    add_object "$((obj + 1))" "<< /Length ${#stream} >>"$'\n'"stream"$'\n'"$stream"$'\n'"endstream"
  done
  local count=$((4 + 2 * pages)) xref_at=$(( ${#header} + ${#body} ))
  {
    printf '%s%s' "$header" "$body"
    printf 'xref\n0 %d\n0000000000 65535 f \n' "$count"
    for ((i = 1; i < count; i++)); do printf '%010d 00000 n \n' "${offsets[$i]}"; done
    printf 'trailer\n<< /Size %d /Root 1 0 R >>\nstartxref\n%d\n%%%%EOF\n' "$count" "$xref_at"
  } >"$file"
  unset -f add_object
}
