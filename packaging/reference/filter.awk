# Makes the plain comments of the headers known to Doxygen. The comment that a file begins with
# describes the file. A block above a declaration describes it, and the declarations that follow
# without an empty line in between. So does a comment behind a declaration.

function escaped(text) {
    gsub(/[%<>]/, "\\\\&", text)
    return text
}

# A line of a comment of its own.
/^ *\/\/( |$)/ {
    if (NR == 1) {
        print "/// \\file"
        isAboutFile = 1
    }
    line = $0
    sub(/\/\/.*/, "", line)
    text = $0
    sub(/^ *\/\//, "", text)
    line = line "///" escaped(text)
    block = isInBlock ? block "\n" line : line
    isInBlock = 1
    print line
    next
}

{
    isRepeatable = !isInBlock && hasEnded && $0 !~ /^ *($|}|[a-z]+:$)/
    if (isInBlock && isAboutFile) {
        print ""
        block = ""
        isAboutFile = 0
    }
    if ($0 ~ /^$/ || $0 ~ /^ *}/ || $0 ~ /{$/) {
        block = ""
    }
    isInBlock = 0
    hasEnded = $0 ~ /(;|{.*})( +\/\/ .*)?$/ && $0 !~ /^ *}/
}

# A comment behind a declaration.
/^[^"]*[;,{(] +\/\/ / && match($0, /\/\/ [^\/]*$/) {
    print substr($0, 1, RSTART - 1) "///< " escaped(substr($0, RSTART + 3))
    next
}

isRepeatable && block != "" { print block }

{ print }
