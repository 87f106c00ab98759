#!/usr/bin/env bash
# Makes certificates for trying a fleet out: an authority and, signed by it, one for the servers, one
# for the collectors and one for each given host. They hold for a month.
#     fleet/nats/make-certificates.sh DIRECTORY HOST...
# Writes ca.pem, server.pem, server.key, collector.pem, collector.key, HOST.pem, HOST.key.
set -euo pipefail

directory=${1:?usage: make-certificates.sh DIRECTORY HOST...}
shift
umask 077
mkdir -p "$directory"
cd "$directory"

make_key() {
    openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out "$1.key" 2>/dev/null
}

# make_certificate NAME EXTENSIONS: the name that counts for the servers is the alternative one.
make_certificate() {
    make_key "$1"
    openssl req -new -key "$1.key" -subj "/CN=$1" -out "$1.csr"
    openssl x509 -req -in "$1.csr" -CA ca.pem -CAkey ca.key -CAcreateserial -days 30 \
        -extfile <(printf '%s\n' "$2") -out "$1.pem" 2>/dev/null
    rm "$1.csr"
}

if [[ ! -e ca.pem ]]; then
    make_key ca
    openssl req -x509 -new -key ca.key -subj "/CN=qv fleet test authority" -days 30 -out ca.pem
    make_certificate server "subjectAltName=DNS:localhost,IP:127.0.0.1
extendedKeyUsage=serverAuth,clientAuth"
    make_certificate collector "subjectAltName=DNS:collector
extendedKeyUsage=clientAuth"
fi
for host in "$@"; do
    make_certificate "$host" "subjectAltName=DNS:$host
extendedKeyUsage=clientAuth"
done
