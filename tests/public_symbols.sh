#!/bin/bash
# SPDX-License-Identifier: Apache-2.0
# Every symbol that the library defines must belong to a name of the public headers or, in an
# archive, where nothing can be hidden, to the namespace of our own; a shared library exports
# nothing of that but what the public headers say.
# usage: public_symbols.sh SOURCE_DIR LIBRARY
set -euo pipefail
cd "$1"
names_in() {
    sed -nE 's/^(class|struct) MIMETREE_API (\w+).*/\2/p
             s/^(extern |\[\[noreturn\]\] )?MIMETREE_API [^(;]*\b(\w+)[(;].*/\2/p' "$@" | sort -u | paste -sd'|'
}
names=$(names_in foundation/*.h mime/*.h include/mimetree/*.h)
face="|mimetree::(detail::)?($(names_in include/mimetree/*.hpp))(::.*|\(.*|)"
case $2 in
*.a) symbols=$(nm -gC --defined-only "$2") own='|([^(]+ |decltype \(.*\) )?mimetree::.*' ;;
*) symbols=$(nm -DC --defined-only "$2") own=$face ;;
esac
# Address and type, then the name; instances of std:: templates belong to the standard library.
foreign=$(sed -nE 's/^[0-9a-f]{8,} [A-Za-z] //p' <<<"$symbols" |
    grep -vE '\bstd::|^operator |^DW\.ref\.|^__|^_(init|fini|edata|end|_bss_start)$' |
    grep -vE "^(typeinfo( name)? for |vtable for |guard variable for |non-virtual thunk to )?((\w+[ *&]+)*($names)(::.*|\(.*|)$own)( \[clone .*\])?$" || true)
[ -n "$symbols" ] && [ -z "$foreign" ] || { echo "not public names:"; echo "$foreign" | sort -u | head -40; exit 1; }
