# Makes one row of the parity table for each name in the layer's headers: the value of a constant, the size of a type,
# the place of a member, an identifier. What a header gains is thereby in the table; there is no list to forget it in.

function word(text) {
    gsub(/[^A-Za-z0-9_].*/, "", text)
    return text
}

# One declaration of a record, such as "BYTE rgbReserved[32]" or "UINT Count, Quality".
function members(declaration,    parts, count, i) {
    gsub(/\[[^\]]*\]/, "", declaration)
    count = split(declaration, parts, ",")
    for (i = 1; i <= count; ++i) {
        sub(/ *$/, "", parts[i])
        sub(/.*[ *]/, "", parts[i])
        print "MEMBER(" record ", " parts[i] ")"
    }
}

{ sub(/ *\/\/.*/, "") }

/^#define [A-Za-z0-9_]+ / && !/ const / { print "CONSTANT(" $2 ")" }
/^DEFINE_GUID\(/ { print "IDENTIFIER(" word(substr($0, 13)) ")" }
/^DECLARE_HANDLE\(/ { print "TYPE(" word(substr($0, 16)) ")" }
/^using / { print "TYPE(" $2 ")" }

/^enum / { inEnumeration = 1; sub(/.*\{/, "") }
inEnumeration {
    count = split($0, parts, ",")
    for (i = 1; i <= count; ++i)
        if (match(parts[i], /[A-Za-z0-9_]+ = /)) print "CONSTANT(" word(substr(parts[i], RSTART)) ")"
    if (/\}/) inEnumeration = 0
}

# Interfaces have methods and no members; the layer's own order of methods is its own affair.
/^(struct|union) [A-Za-z0-9_]+ \{$/ { record = $2; body = ""; next }
record && /^\};/ {
    if (body !~ /virtual/) {
        print "TYPE(" record ")"
        gsub(/union \{/, "", body)
        gsub(/\}/, "", body)
        count = split(body, parts, ";")
        for (i = 1; i <= count; ++i) if (parts[i] ~ /[A-Za-z]/) members(parts[i])
    }
    record = ""
}
record { body = body " " $0 }

# What the headers compute.
END {
    print "CONSTANT(LOWORD(0x89ABCDEF))"
    print "CONSTANT(HIWORD(0x89ABCDEF))"
    print "CONSTANT(MAKELONG(0x89AB, 0xCDEF))"
    print "CONSTANT(MAKEWPARAM(0x89AB, 0xCDEF))"
    print "CONSTANT(MAKELPARAM(0x89AB, 0xCDEF))"
    print "CONSTANT(GET_X_LPARAM(0x89ABCDEF))"
    print "CONSTANT(GET_Y_LPARAM(0x89ABCDEF))"
    print "CONSTANT(RGB(1, 2, 255))"
    print "CONSTANT(IS_INTRESOURCE(MAKEINTRESOURCEW(0xFFFF)))"
}
