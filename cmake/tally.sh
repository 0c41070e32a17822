# Read by the scripts that run tests (source cmake/tally.sh): runs ctest for one build after the other and counts over all
# of them. What failed is told once more at the end, so that it is seen without searching through all that was printed.
passed=0
failed=0
skipped=0
told=$(mktemp)
trap 'rm -f "$told"' EXIT

# tally FOLDER COMMAND...: COMMAND runs ctest for the build in FOLDER.
tally() {
  local report=$PWD/$1/tests.xml suite tests bad without
  shift
  rm -f "$report"
  # The status of ctest is not enough: it is 0 too when there was nothing to run.
  "$@" --output-junit "$report" | grep -v --line-buffered "^ *Start " || true
  [ -s "$report" ] || { echo "ctest left no report: $*" >&2; exit 1; }
  suite=$(grep -A 12 -m 1 '<testsuite' "$report" | tr '\n' ' ')
  count() { sed -n "s/.*[[:space:]]$1=\"\([0-9]*\)\".*/\1/p" <<<"$suite" | head -n 1; }
  tests=$(count tests) bad=$(count failures) without=$(($(count skipped) + $(count disabled)))
  [ "$tests" -gt 0 ] || { echo "there were no tests: $*" >&2; exit 1; }
  passed=$((passed + tests - bad - without))
  failed=$((failed + bad))
  skipped=$((skipped + without))
  # Of each failed test its name and the end of what it printed.
  sed -n '/<testcase .*status="fail"/,/<\/testcase>/p' "$report" | awk '
    /<testcase / { match($0, /name="[^"]*"/); name = substr($0, RSTART + 6, RLENGTH - 7); count = 0 }
    /<\/testcase>/ {
      print "--- failed: " name
      for (line = count > 30 ? count - 30 : 0; line < count; ++line) print lines[line]
    }
    { sub(/^.*<system-out>/, ""); if ($0 !~ /<\/?(testcase|failure|properties|system-out)/) lines[count++] = $0 }' |
    sed 's/&lt;/</g; s/&gt;/>/g; s/&quot;/"/g; s/&apos;/'\''/g; s/&amp;/\&/g' >>"$told"
}

# The last lines of a run; its status is 0 only when none failed.
tally_end() {
  echo
  cat "$told"
  [ "$skipped" -eq 0 ] || echo "$skipped skipped"
  echo "$passed passed, $failed failed"
  [ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
}
