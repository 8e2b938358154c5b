# Signature and notary, for the bundle and for the disk image alike. Sourced.

is_to_be_signed() { [ -n "${CORVANE_SIGN_IDENTITY-}" ]; }
is_to_be_notarised() { [ -n "${CORVANE_NOTARY_PROFILE-}" ]; }

# The hardened runtime, which the notary demands, without any entitlement: nothing here makes code at run time, loads a
# library of somebody else, scripts other programs, or asks for microphone or camera; sockets and other programs need none.
sign() { # FILE
    local hardened=(--options runtime --timestamp)
    # Without a team the libraries of one bundle count as foreign to each other, and the runtime would refuse them.
    [ "$CORVANE_SIGN_IDENTITY" != - ] || hardened=()
    codesign --force ${hardened[@]+"${hardened[@]}"} --sign "$CORVANE_SIGN_IDENTITY" "$1"
}

notarise() { # FILE: waits for the verdict
    xcrun notarytool submit "$1" --keychain-profile "$CORVANE_NOTARY_PROFILE" --wait
}
