#!/usr/bin/env bash
# Prints users.conf: a collector, which may do everything with the streams, and the given hosts. A
# host may publish its own subjects and read its own marks, and nothing else.
#     fleet/nats/make-users.sh HOST... >users.conf
# The names are those of `qvlog ship --host`, and stand in the hosts' certificates.
set -euo pipefail

# As the program makes a word of a subject of a name.
subject_word() {
    local name=$1 word= character i
    local LC_ALL=C
    for ((i = 0; i < ${#name}; ++i)); do
        character=${name:i:1}
        case $character in
            [A-Za-z0-9_-]) word+=$character ;;
            *) word+=$(printf '=%02X' "'$character") ;;
        esac
    done
    echo "$word"
}

cat <<END
users: [
    {
        user: "collector"
        permissions: { publish: ["\$JS.API.>", "\$JS.ACK.>"], subscribe: ["_INBOX.>"] }
    }
END
for host in "$@"; do
    word=$(subject_word "$host")
    cat <<END
    {
        user: "$host"
        permissions: {
            publish: ["logs.*.$word.>", "\$JS.API.DIRECT.GET.*.logs.*.$word.>"]
            subscribe: ["_INBOX.$word.>"]
        }
    }
END
done
echo "]"
