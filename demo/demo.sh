#!/bin/bash
# Two computers, office and laptop, kept in step by files on a stick, over the network and through an FTP server:
#   demo.sh [--keep] [--ftp FOLDER] ZELKOR VANDRY ZELKOR_SEED
#
# Both live in a folder of their own on this machine: each has its home directory, its settings and its catalogue. The
# stick is a folder, the network the machine's own, the FTP server a real one from FOLDER (cmake/servers.sh). Beside
# them a third tree, "wanted", is kept by hand (with cp) and says which version of each file must stand where in the end;
# the status is 0 only when every file's bytes and time are as wanted, after each road. Nothing is left behind, not even
# when it is interrupted.
set -euo pipefail
export LC_ALL=C.UTF-8
# With summer time, written out so that it needs no time zone files.
export TZ='CET-1CEST,M3.5.0,M10.5.0/3'

here=$(dirname "$(realpath "$0")")
usage() {
  echo "usage: demo.sh [--keep] [--ftp FOLDER] ZELKOR VANDRY ZELKOR_SEED" >&2
  exit 2
}
keep="" ftp_folder=""
while [ $# -gt 0 ]; do
  case $1 in
    --keep) keep=yes ;;
    --ftp) ftp_folder=${2:-} && shift ;;
    *) break ;;
  esac
  shift
done
[ $# -eq 3 ] || usage
zelkor=$(realpath "$1")
vandry=$(realpath "$2")
seeder=$(realpath "$3")

root=$(mktemp -d "${TMPDIR:-/tmp}/zelkor-demo-XXXXXX")
leave() {
  local status=$?
  # From here on it goes through, whatever fails.
  trap '' INT TERM HUP
  set +e
  end_background
  if [ -n "$keep" ]; then
    echo "Both computers are left in $root."
  else
    rm -rf "$root"
  fi
  exit "$status"
}
trap leave EXIT
# A program that was interrupted ends by itself; this ends the demo too.
trap 'exit 130' INT
trap 'exit 143' TERM
trap 'exit 129' HUP

office=$root/office/home
laptop=$root/laptop/home
pictures=$root/laptop/pictures-disk
stick=$root/stick
wanted=$root/wanted

if [ -t 1 ]; then
  bold=$'\e[1m' dim=$'\e[2m' green=$'\e[32m' red=$'\e[31m' plain=$'\e[0m'
else
  bold="" dim="" green="" red="" plain=""
fi

title() { printf '\n%s%s%s\n' "$bold" "$*" "$plain"; }
say() { printf '%s\n' "$*"; }
fail() {
  printf '%s%s%s\n' "$red" "$*" "$plain" >&2
  exit 1
}

# end_background: ends all that runs beside the demo, with the processes that it started, and waits for it. The shell's
# own list is asked: an interruption may come before a process just started is written down anywhere else.
end_background() {
  local process i
  for process in $(jobs -p); do
    for ((i = 0; i < 50; i++)); do
      # Again each time: what is not a program of its own yet may lose the first one.
      signal_all TERM "$process" || break
      sleep 0.1
    done
    signal_all KILL "$process"
    wait "$process" 2>/dev/null
  done
}
# signal_all SIGNAL PROCESS: to it and to the group that it leads, if it leads one; fails when there are neither.
signal_all() {
  local status=1
  kill -s "$1" -- "$2" 2>/dev/null && status=0
  kill -s "$1" -- "-$2" 2>/dev/null && status=0
  return "$status"
}

# until_there SECONDS COMMAND …: repeats it until it succeeds.
until_there() {
  local end=$((SECONDS + $1))
  shift
  until "$@"; do
    [ $SECONDS -lt $end ] || return 1
    sleep 0.05
  done
}

# --- The two computers -----------------------------------------------------------------------------------------------

# as COMPUTER COMMAND …: runs a program of ours as one of the two computers.
as() {
  environment_of "$1"
  shift
  env "${environment[@]}" "$@"
}
environment_of() {
  local computer=$root/$1
  environment=("HOME=$computer/home" "XDG_CONFIG_HOME=$computer/config" "ZELKOR_DIR=$computer/program"
    "TMPDIR=$computer/tmp" "XDG_RUNTIME_DIR=$computer/run")
}

# start COMPUTER OUTPUT COMMAND …: likewise, but beside the demo, which ends it at the latest with itself. Its number
# is in "started".
start() {
  local output=$2
  environment_of "$1"
  shift 2
  # Not through a function: its number would be that of a shell between.
  env "${environment[@]}" "$@" >"$output" 2>&1 </dev/null &
  started=$!
}

# prompt COMPUTER COMMAND: what is typed there.
prompt() { printf '\n%s$ %s%s\n' "$bold$1" "$2" "$plain"; }

# sync COMPUTER WORD: one unattended run, its log shown without its middle.
sync() {
  local computer=$1 word=$2 status=0
  prompt "$computer" "zelkor '$word'"
  as "$computer" "$zelkor" "$word" >"$root/output" 2>&1 </dev/null || status=$?
  show_run "$computer" "$root/output" "$status"
}

# show_run COMPUTER LOG STATUS
show_run() {
  local computer=$1 log=$2 status=$3 lines
  printf '%s' "$dim"
  # The first lines, and those from the counts on.
  lines=$(grep -n -m 1 -e ' files exported$' -e '^File summary:' "$log" | cut -d : -f 1) || true
  if [ -n "$lines" ] && [ "$lines" -gt 12 ]; then
    head -n 8 "$log" | sed 's/^/  /'
    printf '  … %d lines …\n' $((lines - 9))
    tail -n +"$lines" "$log" | sed 's/^/  /'
  else
    sed 's/^/  /' "$log"
  fi
  printf '%s' "$plain"
  [ "$status" -eq 0 ] || fail "zelkor ended with status $status on $computer."
}

# carry NAME: shows what is on the stick.
carry() {
  local size
  size=$(stat -c %s "$stick/$1") || fail "There is no $1 on the stick."
  say "The stick holds $1, $((size / 1024)) kb; it is carried over."
}

# --- Files -----------------------------------------------------------------------------------------------------------

# text FILE DATE WORDS …: a text file with that content and time.
text() {
  local file=$1 date=$2 i
  shift 2
  mkdir -p "${file%/*}"
  for i in 1 2 3 4 5 6 7 8; do printf '%d. %s, %s\r\n' "$i" "${file##*/}" "$*"; done >"$file"
  touch -d "$date" "$file"
}

# binary FILE DATE BYTES
binary() {
  mkdir -p "${1%/*}"
  head -c "$3" /dev/urandom >"$1"
  touch -d "$2" "$1"
}

# The trees of wanted files have the same names for both sides: office's, but finance where the laptop has it.
# want SIDE NAME [FROM]: from now on SIDE (office, laptop or both) must hold FROM's version of the file at the end.
want() {
  local side=$1 name=$2 from=$3 one
  for one in office laptop; do
    [ "$side" = "$one" ] || [ "$side" = both ] || continue
    mkdir -p "$(dirname "$wanted/$one/$name")"
    cp -p "$from" "$wanted/$one/$name"
  done
}

make_files() {
  local i person year name
  for i in {01..24}; do text "$office/job/finance/sheet $i.csv" "2019-$((10#$i % 12 + 1))-05 09:30:$i" "ledger of month $i"; done
  for i in {01..60}; do binary "$office/photos/IMG_00$i.JPG" "2016-07-$((10#$i % 28 + 1)) 18:$((10#$i % 60)):07" $((20000 + 10#$i * 1531)); done
  for person in "Anna Müller" "Jörg Weiß" "Åsa Öberg" "plain"; do
    for year in 1994 2008 2025; do
      for i in {1..9}; do
        text "$office/letters/$person/$year/letter $i to $person.txt" "$year-0$i-11 12:00:0$i" "dear $person"
      done
      : >"$office/letters/$person/$year/Entwürfe"
      touch -d "$year-12-24 16:00:00" "$office/letters/$person/$year/Entwürfe"
    done
  done
  for i in {1..8}; do text "$office/OLD/REPORT$i.TXT" "1985-0$i-01 00:00:00" "from the old machine"; done
  for i in {01..90}; do text "$office/projects/$((10#$i % 9))/plan $i.txt" "2021-03-$((10#$i % 28 + 1)) 23:59:59" "project $i"; done
  for i in {1..12}; do
    if [ $((i % 3)) -eq 0 ]; then
      mkdir -p "$office/notes"
      : >"$office/notes/note $i.txt"
      touch -d "2024-02-29 08:00:$((i + 10))" "$office/notes/note $i.txt"
    else
      text "$office/notes/note $i.txt" "2024-10-27 02:30:$((i + 10)) +0200" "in the hour that comes twice"
    fi
  done
  mkdir -p "$office/a/b/c/d/e/f/g/h/i/j"
  text "$office/a/b/c/d/e/f/g/h/i/j/deep.txt" "2001-09-09 01:46:40" "ten levels down"
  binary "$office/video/holiday.bin" "2023-08-15 20:15:00" $((20 * 1024 * 1024))
  text "$office/laptop only/travel.txt" "2025-05-05 05:05:05" "only for the laptop"
  for i in {1..5}; do
    text "$office/diary/day $i.txt" "2025-01-0$i 22:00:00" "nobody's business"
    text "$office/office only/key $i.txt" "2022-06-0$i 10:00:00" "stays in the office"
  done
  text "$office/tablet only/map.txt" "2025-05-06 05:05:05" "for another computer"
  text "$office/old plan/plan.txt" "2010-10-10 10:10:10" "its item was deleted"

  # Everything of these directories travels, everything of the others stays.
  for name in "job/finance" photos letters OLD projects notes a video "laptop only"; do
    mkdir -p "$wanted/office/${name#job/}" "$wanted/laptop/${name#job/}"
    cp -a "$office/$name/." "$wanted/office/${name#job/}/"
    cp -a "$office/$name/." "$wanted/laptop/${name#job/}/"
  done
  for name in diary "office only" "tablet only" "old plan"; do cp -a "$office/$name" "$wanted/office/"; done
}

make_computers() {
  local computer
  for computer in office laptop; do
    mkdir -p "$root/$computer"/{home,config,program,tmp,run}
    chmod 700 "$root/$computer/run"
    printf '[Orlim]\r\nuser=%s\r\n[Drives]\r\ns=%s\r\n' "$computer" "$stick" >"$root/$computer/config/orlim.ini"
  done
  mkdir -p "$stick" "$pictures"
  printf 'd=%s\r\n' "$pictures" >>"$root/laptop/config/orlim.ini"
  printf ';Finance is elsewhere on this computer\r\nc:\\job\\finance\\=c:\\finance\\\r\n' >"$root/office/program/ReMap.txt"
  printf ';Photos have a disk of their own\r\nd:\\=c:\\photos\\\r\n' >"$root/laptop/program/ReMap.txt"
}

make_items() {
  local i
  {
    printf 'target\tlaptop\n'
    printf 'item\tFinance sheets\tOn\tAll\tfinance money\tc:\\job\\finance\\*.csv\n'
    printf 'item\tPhotos\tAuto\tAll\tphotos\tc:\\photos\\*.jpg\n'
    printf 'item\tLetters, all years\tAuto\tAllButExcluded\tletters\t+- c:\\letters\\*.*\n'
    printf 'item\tReports of the old machine\tAuto\tAll\t\tc:\\OLD\\report?.txt\n'
    printf 'item\tNotes\tAuto\tAll\t\tc:\\notes\\*\n'
    printf 'item\tDeep down\tAuto\tAll\t\tc:\\a\\b\\c\\d\\e\\f\\g\\h\\i\\j\\deep.txt\n'
    printf 'item\tHoliday film\tAuto\tAll\tfilm\tc:\\video\\holiday.bin\n'
    printf 'item\tTravel\tAuto\tOnlyIncluded\ttravel +laptop\tc:\\laptop only\\travel.txt\n'
    printf 'item\tDiary\tOff\tAll\t\tc:\\diary\\*.*\n'
    printf 'item\tKeys\tAuto\tAllButExcluded\tkeys -laptop\tc:\\office only\\*.*\n'
    printf 'item\tMap\tAuto\tOnlyIncluded\t+tablet\tc:\\tablet only\\map.txt\n'
    printf 'item\tOld plan\tAuto\tAll\t\tc:\\old plan\\plan.txt\n'
    printf 'delete\tOld plan\n'
    for i in {01..90}; do
      printf 'item\tProject %s\tAuto\tAll\tproject p%s\tc:\\projects\\%d\\plan %s.txt\n' "$i" "$i" $((10#$i % 9)) "$i"
    done
  } | as office "$seeder"
  printf 'target\toffice\n' | as laptop "$seeder"
}

# Both sides are edited before the next exchange. What is edited now is later than the export just made; where both
# sides edit one file, the laptop is a second later.
change_both_sides() {
  local now i name
  now=$(date +%s)
  local later="@$now" sooner="@$((now - 1))"

  for i in {1..6}; do  # edited in the office
    text "$office/projects/$i/plan 0$i.txt" "$later" "edited in the office"
    want both "projects/$i/plan 0$i.txt" "$office/projects/$i/plan 0$i.txt"
  done
  for i in 10 20 30; do  # edited on the laptop
    name="projects/$((i % 9))/plan $i.txt"
    text "$laptop/$name" "$later" "edited on the laptop"
    want both "$name" "$laptop/$name"
  done
  name="projects/4/plan 40.txt"  # edited on both: the later one wins
  text "$office/$name" "$sooner" "edited in the office, a second too early"
  text "$laptop/$name" "$later" "edited on the laptop, a second later"
  want both "$name" "$laptop/$name"

  binary "$office/photos/IMG_0061.JPG" "$later" 54321  # new photos on either side, taken in by the wildcard
  want both photos/IMG_0061.JPG "$office/photos/IMG_0061.JPG"
  binary "$pictures/IMG_0062.JPG" "$later" 65432
  want both photos/IMG_0062.JPG "$pictures/IMG_0062.JPG"
  name="letters/Jörg Weiß/2026/März/Grüße.txt"  # a new letter in new directories
  text "$laptop/$name" "$later" "schöne Grüße"
  want both "$name" "$laptop/$name"
  : >"$office/video/holiday.bin"  # a large file is empty now
  touch -d "$later" "$office/video/holiday.bin"
  want both video/holiday.bin "$office/video/holiday.bin"

  # The laptop gets an old version back from somewhere. An older file never replaces a newer one; office sends its own
  # again where the item is "On", and does not where it is "Auto", since there it has not changed.
  text "$laptop/finance/sheet 03.csv" "2011-11-11 11:11:11" "an old version"
  text "$laptop/notes/note 1.txt" "2011-11-11 11:11:11" "an old version"
  want laptop "notes/note 1.txt" "$laptop/notes/note 1.txt"

  # An item is deleted on the laptop, which never touches files; the mark travels.
  printf 'delete\tDeep down\n' | as laptop "$seeder"
}

# --- The comparison --------------------------------------------------------------------------------------------------

# manifest DIR PREFIX: "name <tab> checksum <tab> time" of each file below DIR, sorted.
manifest() {
  [ -d "$1" ] || return 0
  (
    cd "$1"
    find . -type f -printf '%P\t%Ts\n' | sort >"$root/times"
    find . -type f -printf '%P\0' | xargs -0 -r sha256sum -z | tr '\0' '\n' | sed 's/^\([0-9a-f]*\)  \(.*\)$/\2\t\1/' | sort >"$root/sums"
    join -t $'\t' "$root/sums" "$root/times" | sed "s|^|$2|"
  )
}

compare() {
  {
    manifest "$office" "" | grep -v '^job/'
    manifest "$office/job/finance" finance/
  } >"$root/office.found"
  {
    manifest "$laptop" ""
    manifest "$pictures" photos/
  } >"$root/laptop.found"
  manifest "$wanted/office" "" >"$root/office.wanted"
  manifest "$wanted/laptop" "" >"$root/laptop.wanted"

  awk -F '\t' -v green="$green" -v red="$red" -v plain="$plain" '
    # Four files in turn: what is wanted and what is found on either side.
    { version[FILENAME, $1] = $2 "\t" $3; names[$1] = 1 }
    END {
      for (name in names) {
        group = name
        if (!sub(/\/.*/, "", group)) group = "(home directory)"
        ow = version[ARGV[1], name]; of = version[ARGV[2], name]
        lw = version[ARGV[3], name]; lf = version[ARGV[4], name]
        count[group]++
        total++
        if (ow != of || lw != lf) { wrong[group]++; wrongs++; bad[wrongs] = name (ow != of ? ", office" : "") (lw != lf ? ", laptop" : "") }
        else if (of == lf) { same[group]++; sames++ }
        else if (lf == "") { home[group]++; homes++ }
        else { apart[group]++; aparts++ }
      }
      format = "  %-18s %6s %14s %16s %16s %8s\n"
      printf format, "Directory", "files", "same on both", "only in office", "meant to differ", "wrong"
      fflush()
      sorter = "sort"
      for (group in count) {
        printf format, group, count[group], same[group] + 0, home[group] + 0, apart[group] + 0, wrong[group] + 0 | sorter
      }
      close(sorter)
      printf format, "Total", total, sames + 0, homes + 0, aparts + 0, wrongs + 0
      for (i = 1; i <= wrongs; i++) print "  " red "wrong: " bad[i] plain
      if (total == 0 || wrongs > 0) { print red "Not everything is as wanted." plain; exit 1 }
      print green "Every file has the bytes and the time that it should have, on both computers." plain
    }' "$root/office.wanted" "$root/office.found" "$root/laptop.wanted" "$root/laptop.found"
}

deleted_items() { as "$1" "$seeder" --list | sed -n 's/^[0-9]* deleted [A-Za-z]* \([^(]*\) (.*/\1/p' | sort | paste -sd, ; }

# shellcheck source=demo/roads.sh
. "$here/roads.sh"

# --- The tour --------------------------------------------------------------------------------------------------------

title "Two computers, office and laptop, in $root"
make_computers
make_files
make_items
say "Office has $(find "$office" -type f | wc -l) files and $(as office "$seeder" --list | wc -l) items: single files, wildcards, a whole directory tree;"
say "Auto, On and Off; for all, for the laptop only, not for the laptop; one of them deleted."
say "Finance is c:\\job\\finance in the office and c:\\finance elsewhere; photos are drive d on the laptop."

title "1. Office exports for the laptop, and the laptop imports"
sync office '/syncexp:laptop:"s:\"'
carry laptop.cas
sync laptop '/syncimp:office:"s:\"'
[ ! -e "$stick/laptop.cas" ] || fail "A collected file is still on the stick."

title "2. Both sides change files"
change_both_sides
say "Edited here, there and on both; new files in old and new directories; a large one emptied; older versions"
say "put back on the laptop; one item deleted there."

title "3. The laptop exports for office, and office imports"
sync laptop '/syncexp:office:"s:\"'
carry office.cas
sync office '/syncimp:laptop:"s:\"'

title "4. Office exports what changed since, and the laptop imports"
sync office '/syncexp:laptop:"s:\"'
carry laptop.cas
sync laptop '/syncimp:office:"s:\"'

title "5. Both computers, file by file: bytes, and times to the second"
compare
say "Deleted items in the office: $(deleted_items office); on the laptop: $(deleted_items laptop)."
[ "$(deleted_items office)" = "Deep down,Old plan" ] || fail "The deleted item did not travel."

title "6. The network: both computers run Vandry, and are paired once"
start_vandrys
pair

title "7. Both sides change files again, and synchronise over the network"
edit_both_sides network 1
set_road network
over_network office laptop
over_network laptop office
echo
compare

title "8. And once more, through an FTP server"
if why_no_ftp=$(ftp_server_missing); then
  say "This road is left out: $why_no_ftp."
else
  start_ftp_server
  edit_both_sides FTP 2
  set_road ftp
  through_server office laptop
  through_server laptop office
  echo
  compare
fi
