# shellcheck shell=sh
# ring NAME FOLDER: copies the recorded ring of that name from rings/ to FOLDER, as a launcher leaves it: the modification
# time of each file is that of its last line.
ring() {
    cp -r "$SOURCE/tests/documents/rings/$1" "$2"
    for file in "$2"/*; do
        touch -d "2026-11-22 $(sed -n 's/^\[\(..:..:..\)-\(...\)\].*/\1.\2/p' "$file" | tail -n 1)" "$file"
    done
}
