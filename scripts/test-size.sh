#!/usr/bin/env bash
# Prints the size of the tests against the size of the code they test, in
# non-blank, non-comment lines of C++ (.cpp and .h files):
#   code: shlibs/ include/ tools/    tests: everything under tests/
set -euo pipefail
cd "$(dirname "$0")/.."

count() {  # directories...
  find "$@" -type f \( -name '*.cpp' -o -name '*.h' \) -print0 | xargs -0 cat | awk '
    {
      line = $0
      out = ""
      # Drops /* ... */ blocks (also across lines) and // comments, then
      # counts what is left if it is not blank.
      while (line != "") {
        if (inblock) {
          end = index(line, "*/")
          if (end == 0) { line = ""; break }
          line = substr(line, end + 2); inblock = 0
        } else {
          open = index(line, "/*"); slash = index(line, "//")
          if (slash && (!open || slash < open)) { out = out substr(line, 1, slash - 1); line = ""; break }
          if (open) { out = out substr(line, 1, open - 1); line = substr(line, open + 2); inblock = 1 }
          else { out = out line; line = "" }
        }
      }
      if (out ~ /[^ \t\r]/) n++
    }
    END { print n + 0 }'
}

code=$(count shlibs include tools)
tests=$(count tests)
echo "test size: tests $tests lines, code $code lines, ratio $((tests * 100 / code)) %"
