# The roads of the demo that need no carrying, for demo.sh: the network, with a Vandry on each computer, and an FTP
# server.

# free_port: a TCP port of this machine on which nobody listens.
free_port() {
  local port
  while true; do
    # Below those that the system gives away by itself.
    port=$((20000 + RANDOM % 12000))
    listens "$port" || break
  done
  echo "$port"
}
listens() { (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }

# --- The network -----------------------------------------------------------------------------------------------------

office_port="" laptop_port=""

start_vandrys() {
  local computer port
  office_port=$(free_port)
  until laptop_port=$(free_port) && [ "$laptop_port" != "$office_port" ]; do :; done
  for computer in office laptop; do
    port=${computer}_port
    # Where a message comes while Zelkor does not run, Vandry would open its windows; here the runs are started by hand.
    printf '[Zelkor]\r\nAcceptNetConn=1\r\nExe=/bin/true\r\n[Vandry]\r\nListen=127.0.0.1\r\nPort=%s\r\n' "${!port}" \
      >>"$root/$computer/config/orlim.ini"
    prompt "$computer" "vandry &"
    start "$computer" "$root/$computer/vandry.out" "$vandry"
    until_there 30 listens "${!port}" || fail "Vandry does not listen on $computer: $(cat "$root/$computer/vandry.out")"
  done
  say "Office listens on port $office_port of 127.0.0.1, the laptop on $laptop_port."
}

has_code() { grep -sq 'by fingerprints' "$root/pairing"; }

pair() {
  local code status=0
  prompt office "vandry --pair"
  start office "$root/pairing" "$vandry" --pair
  until_there 30 has_code || fail "No pairing code: $(cat "$root/pairing")"
  printf '%s' "$dim"
  sed 's/^/  /' "$root/pairing"
  printf '%s' "$plain"
  code=$(sed -n 's/^Pairing code: //p' "$root/pairing")
  prompt laptop "vandry --pair 127.0.0.1:$office_port $code"
  as laptop "$vandry" --pair "127.0.0.1:$office_port" "$code" >"$root/output" 2>&1 </dev/null || status=$?
  printf '%s%s%s\n' "$dim" "$(sed 's/^/  /' "$root/output")" "$plain"
  wait "$started" || status=$?
  say "${dim}Office says: $(tail -n 1 "$root/pairing")$plain"
  [ "$status" -eq 0 ] || fail "The computers are not paired."
}

requested() { grep -sq '^Sync request sent to ' "$root/import"; }

# over_network FROM TO: the receiver asks and waits, the sender sends, the receiver imports and confirms.
over_network() {
  local from=$1 to=$2 status=0
  prompt "$to" "zelkor '/syncimp:$from:\"\"' &"
  rm -f "$root/import"
  start "$to" "$root/import" "$zelkor" "/syncimp:$from:\"\""
  until_there 30 requested || fail "No request was sent: $(cat "$root/import")"
  sync "$from" "/syncexp:$to:\"\""
  wait "$started" || status=$?
  say
  say "On $to meanwhile:"
  show_run "$to" "$root/import" "$status"
}

# --- The FTP server --------------------------------------------------------------------------------------------------

ftp_port=""

# ftp_program: the server's file; nothing when there is none.
ftp_program() {
  local program
  for program in /usr/sbin/vsftpd "$ftp_folder/usr/sbin/vsftpd"; do
    [ ! -x "$program" ] || { echo "$program"; return; }
  done
}

# ftp_server_missing: why there can be no server; fails when there can.
ftp_server_missing() {
  if [ -z "$(ftp_program)" ]; then
    echo "there is no FTP server here, and cmake/servers.sh could not fetch one"
  else
    return 1
  fi
}

# A login without a user of this machine: anonymous, but with the one password that is on the list. The server runs as
# who runs the demo, on this machine's own address.
start_ftp_server() {
  local folder=$root/server program tries server
  program=$(ftp_program)
  mkdir -p "$folder"/{files,empty}
  echo "demo password" >"$folder/passwords"
  for tries in 1 2 3 4 5; do
    ftp_port=$(free_port)
    cat >"$folder/vsftpd.conf" <<SETTINGS
listen=YES
listen_address=127.0.0.1
listen_port=$ftp_port
background=NO
run_as_launching_user=YES
anonymous_enable=YES
allow_writeable_chroot=YES
secure_email_list_enable=YES
email_password_file=$folder/passwords
write_enable=YES
anon_upload_enable=YES
anon_mkdir_write_enable=YES
anon_other_write_enable=YES
anon_world_readable_only=NO
anon_umask=022
anon_root=$folder/files
secure_chroot_dir=$folder/empty
ftp_username=$(id -un)
nopriv_user=$(id -un)
connect_from_port_20=NO
seccomp_sandbox=NO
SETTINGS
    chmod 600 "$folder"/{passwords,vsftpd.conf}
    # A group of its own, with the processes of its connections.
    LD_LIBRARY_PATH=$ftp_folder/usr/lib/x86_64-linux-gnu setsid "$program" "$folder/vsftpd.conf" \
      >"$folder/output" 2>&1 </dev/null &
    server=$!
    if until_there 5 listens "$ftp_port" && kill -0 "$server" 2>/dev/null; then
      say "$(basename "$program") listens on port $ftp_port of 127.0.0.1."
      return
    fi
  done
  fail "The FTP server does not start: $(cat "$folder/output")"
}

# through_server FROM TO
through_server() {
  local from=$1 to=$2 box=$root/server/files/sync
  sync "$from" "/syncexp:$to:\"\""
  say "The server holds $to.cas, $(($(stat -c %s "$box/$to.cas") / 1024)) kb."
  sync "$to" "/syncimp:$from:\"\""
  [ "$(stat -c %s "$box/$to.cas")" -eq 0 ] || fail "A collected file is still on the server."
}

# --- Both ------------------------------------------------------------------------------------------------------------

# set_road network|ftp: by which each computer reaches the other from now on.
set_road() {
  local computer other port
  for computer in office laptop; do
    other=laptop
    [ "$computer" = office ] || other=office
    port=${other}_port
    case $1 in
      network) printf 'connect\t%s\tnetwork\t127.0.0.1:%s\n' "$other" "${!port}" ;;
      ftp) printf 'connect\t%s\tftp\t127.0.0.1:%s\tanonymous\tdemo password\tsync\n' "$other" "$ftp_port" ;;
    esac | as "$computer" "$seeder"
  done
}

# edit_both_sides ROAD NUMBER: old files edited and new ones made on either side, a large one among them.
edit_both_sides() {
  local road=$1 number=$2 before later i name
  # Times count in whole seconds: what is edited in the second of the last run would pass for known.
  before=$(date +%s)
  until [ "$(date +%s)" -gt "$before" ]; do sleep 0.05; done
  later="@$((before + 1))"
  for i in 1 2 3; do
    name="projects/$(((number * 10 + i) % 9))/plan $number$i.txt"
    text "$office/$name" "$later" "edited in the office before the $road"
    want both "$name" "$office/$name"
  done
  for i in 4 5; do
    name="projects/$(((number * 10 + i) % 9))/plan $number$i.txt"
    text "$laptop/$name" "$later" "edited on the laptop before the $road"
    want both "$name" "$laptop/$name"
  done
  binary "$office/photos/$road 1.JPG" "$later" 43210
  want both "photos/$road 1.JPG" "$office/photos/$road 1.JPG"
  binary "$pictures/$road 2.JPG" "$later" 32109
  want both "photos/$road 2.JPG" "$pictures/$road 2.JPG"
  name="letters/Åsa Öberg/2026/über $road.txt"
  text "$laptop/$name" "$later" "hälsningar"
  want both "$name" "$laptop/$name"
  binary "$office/video/holiday.bin" "$later" $((number * 6 * 1024 * 1024 + 1))
  want both video/holiday.bin "$office/video/holiday.bin"
  say "Edited here and there: six old files, the film among them; new photos and a letter."
}
