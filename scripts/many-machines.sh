#!/usr/bin/env bash
# Tries docs/many-machines.md: GNU Parallel gives pictures to two hosts over ssh, one of which dies.
#     many-machines.sh [PROGRAM]            q32tool.exe, by default that of build/win32/bin
# The hosts are network namespaces of this machine, each with an sshd of its own and addresses that are
# known nowhere else; where no namespaces can be made, or with Q32BASE_LOOPBACK=1, they are two sshd on
# ports of 127.0.0.1. Keys, pictures and all else are in a temporary folder. As root; in Debian: apt-get install parallel
# openssh-server openssh-client iproute2 (./run setup many). Takes about half a minute.
set -euo pipefail
root=$(cd "${BASH_SOURCE[0]%/*}/.." && pwd)
program=$(realpath "${1:-$root/build/win32/bin/q32tool.exe}")
pictures=16 damaged=p07.bmp

fail() { echo "many-machines: $*" >&2; exit 1; }
[[ $EUID == 0 ]] || fail "namespaces and sshd need root"
for tool in parallel ssh ssh-keygen ip; do
    command -v $tool >/dev/null || fail "$tool is missing: ./run setup many"
done
[[ -x /usr/sbin/sshd ]] || fail "sshd is missing: ./run setup many"
[[ -f $program ]] || fail "$program is missing: ./run build"

work=$(mktemp -d)
name=q32m$$ # of namespaces; interfaces may have 15 characters
sshd_of=()  # process of each host's sshd
spaces=''

end() {
    local pid
    for pid in "${sshd_of[@]}"; do kill_tree "$pid"; done
    if [[ -n $spaces ]]; then
        for space in hub one two; do
            ip netns pids "$name-$space" 2>/dev/null | xargs -r kill -9 2>/dev/null || true
            ip netns del "$name-$space" 2>/dev/null || true
        done
    fi
    rm -rf "$work"
}

kill_tree() { # pid
    local child
    for child in $(pgrep -P "$1"); do kill_tree "$child"; done
    kill -9 "$1" 2>/dev/null || true
    wait "$1" 2>/dev/null || true
}
trap end EXIT

# --- hosts ---------------------------------------------------------------------------------------

make_spaces() { # true when there are some
    local host number=1
    ip netns add "$name-hub" 2>/dev/null || return 1
    spaces=yes
    ip -n "$name-hub" link add hub type bridge && ip -n "$name-hub" link set hub up &&
        ip -n "$name-hub" address add 10.77.0.100/24 dev hub || return 1
    for host in one two; do
        ip netns add "$name-$host" && ip -n "$name-$host" link set lo up &&
            ip -n "$name-hub" link add "$host" type veth peer name eth netns "$name-$host" &&
            ip -n "$name-hub" link set "$host" master hub up &&
            ip -n "$name-$host" address add "10.77.0.$number/24" dev eth &&
            ip -n "$name-$host" link set eth up || return 1
        ((++number))
    done
}

start_host() { # name address port
    local inside=()
    [[ -z $spaces ]] || inside=(ip netns exec "$name-$1")
    cat >"$work/sshd-$1" <<END
ListenAddress $2
Port $3
HostKey $work/key
PidFile none
AuthorizedKeysFile $work/key.pub
PermitRootLogin yes
StrictModes no
UsePAM no
PasswordAuthentication no
SetEnv Q32_HOST=$1
END
    "${inside[@]}" /usr/sbin/sshd -D -e -f "$work/sshd-$1" 2>"$work/sshd-$1.log" &
    sshd_of+=($!)
    cat >>"$work/ssh" <<END
Host $1
    HostName $2
    Port $3
END
}

# As when its power goes: nobody says good-bye.
kill_host_two() {
    [[ -z $spaces ]] || ip -n "$name-two" link set eth down
    kill_tree "${sshd_of[1]}"
    [[ -z $spaces ]] || ip netns pids "$name-two" | xargs -r kill -9 2>/dev/null || true
}

mkdir -p /run/sshd
ssh-keygen -q -t ed25519 -N '' -f "$work/key"
cat >"$work/ssh" <<END
IdentityFile $work/key
IdentitiesOnly yes
UserKnownHostsFile $work/known
StrictHostKeyChecking no
LogLevel ERROR
ConnectTimeout 3
ServerAliveInterval 1
ServerAliveCountMax 3
END
hub=()
if [[ -z ${Q32BASE_LOOPBACK:-} ]] && make_spaces; then
    hub=(ip netns exec "$name-hub")
    start_host one 10.77.0.1 22
    start_host two 10.77.0.2 22
else
    echo "no network namespaces here: the hosts are two sshd on ports of 127.0.0.1"
    spaces=''
    start_host one 127.0.0.1 $((20000 + $$ % 10000))
    start_host two 127.0.0.1 $((30000 + $$ % 10000))
fi
for host in one two; do
    for ((i = 0; ; ++i)); do
        "${hub[@]}" ssh -F "$work/ssh" $host true 2>/dev/null </dev/null && break
        ((i < 50)) || { cat "$work/sshd-$host.log" >&2; fail "host $host does not answer"; }
        sleep 0.1
    done
done

# --- pictures ------------------------------------------------------------------------------------

"$root/scripts/wine-run" "$program" --version >/dev/null # Wine's servers, outside of both hosts
mkdir "$work/in" "$work/out"
"$root/scripts/wine-run" "$program" bars hsb --size 300x200 -o "$work/bars.bmp" --quiet
for ((i = 0; i < pictures; ++i)); do
    cp "$work/bars.bmp" "$work/in/p$(printf %02d $i).bmp"
done
truncate -s 1000 "$work/in/$damaged"
"$root/scripts/wine-run" "$program" scale "$work/bars.bmp" "$work/wanted.png" --fit 90x90 --quiet

# What a host runs for each picture. All see the same folder, as over NFS. The log says who made what.
cat >"$work/q32tool" <<END
#!/usr/bin/env bash
export Q32BASE_WINE_DIR="${Q32BASE_WINE_DIR:-$root/build/wine}"
said=\$("$root/scripts/wine-run" "$program" "\$@" 2>&1)
code=\$?
[[ "\$said" != *": 1 done"* ]] || echo "\$Q32_HOST \$2" >>made
echo "\$said"
sleep 0.3
exit \$code
END
chmod +x "$work/q32tool"

many() { # further options of parallel
    "${hub[@]}" parallel --will-cite --ssh "ssh -F $work/ssh" --sshlogin 2/one,2/two --retries 4 \
        --workdir "$PWD" --joblog log "$@" \
        "$work/q32tool" scale {} --to out --as png --fit 90x90 --resume \
        ::: "${inputs[@]}" >>said 2>&1 </dev/null
}
cd "$work"
inputs=(in/*.bmp)
touch made

# --- the four runs -------------------------------------------------------------------------------

made() { wc -l <made; }
wait_until_made() { # count process
    while (($(made) < $1)); do
        kill -0 "$2" 2>/dev/null || { cat said >&2; fail "ended before $1 pictures were made"; }
        sleep 0.05
    done
}

echo "1: both hosts, stopped in the middle"
many &
run=$!
wait_until_made 4 $run
kill_tree $run
wait $run 2>/dev/null || true
sleep 1 # what runs on the hosts ends or goes on, as it likes
stopped=$(made)
((stopped < pictures - 5)) || fail "it was stopped too late: $stopped pictures"
echo "   $stopped of $pictures pictures made"

echo "2: goes on; host two dies"
many --resume-failed &
run=$!
wait_until_made $((stopped + 4)) $run
kill_host_two
code=0
wait $run || code=$?
((code == 1)) || { cat said >&2; fail "parallel ended with $code, not with 1 for one picture"; }
failed=$(awk 'NR > 1 { last[$1] = $7 ? $0 : "" } END { for (job in last) if (last[job]) print last[job] }' log | grep -o 'in/p[0-9]*\.bmp' | sort -u)
[[ $failed == in/$damaged ]] || { cat log said >&2; fail "these failed: $failed"; }
echo "   failed: $failed"

echo "3: the damaged picture is replaced; only it is left"
before=$(made)
cp bars.bmp "in/$damaged"
many --resume-failed || { cat said >&2; fail "the last picture failed"; }
(($(made) == before + 1)) || fail "$(($(made) - before)) pictures were made instead of one"

echo "4: nothing is left"
before=$(made)
many --resume-failed || fail "nothing to do, and failed"
(($(made) == before)) || fail "something was made once more"

# --- what there is -------------------------------------------------------------------------------

for input in "${inputs[@]}"; do
    output=out/$(basename "$input" .bmp).png
    cmp -s "$output" wanted.png || fail "$output is missing or is another picture"
done
twice=$(cut -d ' ' -f 2 made | sort | uniq -d)
[[ -z $twice ]] || fail "made twice: $twice"
echo "made once each, and whole: $pictures pictures, $(grep -c '^one' made) by one, $(grep -c '^two' made) by two"
