# bash completion for corvanectl, made by "corvanectl completion bash"       -*- shell-script -*-

_corvanectl_offer() { # LIST OF COMPGEN...
    local IFS=$'\n'
    COMPREPLY=($(compgen "$@"))
}
_corvanectl_offer_paths() { # -d OR -f, BEGINNING
    _corvanectl_offer "$1" -- "$2"
    if type compopt >/dev/null 2>&1; then
        compopt -o filenames
    else
        local each
        for each in "${!COMPREPLY[@]}"; do COMPREPLY[each]=$(printf %q "${COMPREPLY[each]}"); done
    fi
}
_corvanectl() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
    local IFS=$' \t\n' words=
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        words='hosts patch watch scenes create sync plan signature history restore transport save marker markers check diagnose completion --help --version'
    else
        case "$command $previous" in
        'hosts --rehearse') _corvanectl_offer_paths -d "$current" ;;
        'hosts --for') : ;;
        'patch --rehearse') _corvanectl_offer_paths -d "$current" ;;
        'patch --host') _corvanectl_offer -A hostname -- "$current" ;;
        'patch --port') : ;;
        'patch --for') : ;;
        'patch --save') _corvanectl_offer_paths -f "$current" ;;
        'patch --format') words='table json csv' ;;
        'watch --rehearse') _corvanectl_offer_paths -d "$current" ;;
        'watch --host') _corvanectl_offer -A hostname -- "$current" ;;
        'watch --port') : ;;
        'watch --for') : ;;
        'watch --events') words='status connection patch channels scene endpoints services' ;;
        'scenes --rehearse') _corvanectl_offer_paths -d "$current" ;;
        'scenes --host') _corvanectl_offer -A hostname -- "$current" ;;
        'scenes --port') : ;;
        'scenes --for') : ;;
        'scenes --save') _corvanectl_offer_paths -f "$current" ;;
        'create --rehearse') _corvanectl_offer_paths -d "$current" ;;
        'create --in') _corvanectl_offer_paths -d "$current" ;;
        'create --host') _corvanectl_offer -A hostname -- "$current" ;;
        'create --port') : ;;
        'create --from') _corvanectl_offer_paths -f "$current" ;;
        'sync --rehearse') _corvanectl_offer_paths -d "$current" ;;
        'sync --host') _corvanectl_offer -A hostname -- "$current" ;;
        'sync --port') : ;;
        'sync --from') _corvanectl_offer_paths -f "$current" ;;
        'plan --rehearse') _corvanectl_offer_paths -d "$current" ;;
        'plan --host') _corvanectl_offer -A hostname -- "$current" ;;
        'plan --port') : ;;
        'plan --from') _corvanectl_offer_paths -f "$current" ;;
        'signature --rehearse') _corvanectl_offer_paths -d "$current" ;;
        'signature --from') _corvanectl_offer_paths -f "$current" ;;
        'history --rehearse') _corvanectl_offer_paths -d "$current" ;;
        'restore --rehearse') _corvanectl_offer_paths -d "$current" ;;
        'restore --number') : ;;
        'restore --at') : ;;
        'transport --rehearse') _corvanectl_offer_paths -d "$current" ;;
        'save --rehearse') _corvanectl_offer_paths -d "$current" ;;
        'marker --rehearse') _corvanectl_offer_paths -d "$current" ;;
        'marker --style') words='classic named' ;;
        'markers --rehearse') _corvanectl_offer_paths -d "$current" ;;
        'markers --format') words='table csv json labels' ;;
        'check --rehearse') _corvanectl_offer_paths -d "$current" ;;
        'check --in') _corvanectl_offer_paths -d "$current" ;;
        'check --host') _corvanectl_offer -A hostname -- "$current" ;;
        'check --port') : ;;
        'check --for') : ;;
        'diagnose --rehearse') _corvanectl_offer_paths -d "$current" ;;
        'diagnose --host') _corvanectl_offer -A hostname -- "$current" ;;
        'diagnose --port') : ;;
        'diagnose --for') : ;;
        'diagnose --save') _corvanectl_offer_paths -f "$current" ;;
        'completion --rehearse') _corvanectl_offer_paths -d "$current" ;;
        *)
            case $current in
            -*)
            case $command in
            hosts) words='--help --rehearse --json --for' ;;
            patch) words='--help --rehearse --host --port --for --save --format --json' ;;
            watch) words='--help --rehearse --host --port --for --events --json' ;;
            scenes) words='--help --rehearse --host --port --for --save --json' ;;
            create) words='--help --rehearse --in --host --port --from --launch --json' ;;
            sync) words='--help --rehearse --host --port --from --launch --allow-empty --json' ;;
            plan) words='--help --rehearse --host --port --from --json' ;;
            signature) words='--help --rehearse --from --json' ;;
            history) words='--help --rehearse --json' ;;
            restore) words='--help --rehearse --number --at --discard-recordings --json' ;;
            transport) words='--help --rehearse --json' ;;
            save) words='--help --rehearse --confirm --json' ;;
            marker) words='--help --rehearse --style --confirm --json' ;;
            markers) words='--help --rehearse --format --json' ;;
            check) words='--help --rehearse --in --host --port --for --json' ;;
            diagnose) words='--help --rehearse --host --port --for --save --names --json' ;;
            completion) words='--help --rehearse' ;;
            esac
            ;;
            *)
            case $command in
            create) : ;;
            sync) _corvanectl_offer_paths -d "$current" ;;
            plan) _corvanectl_offer_paths -d "$current" ;;
            signature) _corvanectl_offer_paths -d "$current" ;;
            history) _corvanectl_offer_paths -d "$current" ;;
            restore) _corvanectl_offer_paths -d "$current" ;;
            marker) : ;;
            markers) _corvanectl_offer_paths -d "$current" ;;
            check) _corvanectl_offer_paths -d "$current" ;;
            completion) words='bash fish' ;;
            esac
            ;;
            esac
            ;;
        esac
    fi
    [ -z "$words" ] || COMPREPLY=($(compgen -W "$words" -- "$current"))
}
complete -F _corvanectl corvanectl
