# bash completion for corvanectl                                           -*- shell-script -*-

_corvanectl() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
    local host="--host --port" source="--host --port --from" common="--rehearse --help"
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W "hosts patch watch create sync plan signature history restore transport save marker markers scenes
            --help --version" -- "$current")
        return
    fi
    case $previous in
    --rehearse | --in)
        mapfile -t COMPREPLY < <(compgen -d -- "$current")
        compopt -o filenames
        return
        ;;
    --from | --save)
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        compopt -o filenames
        return
        ;;
    --format)
        mapfile -t COMPREPLY < <(compgen -W "table json csv $([ "$command" != markers ] || echo labels)" -- "$current")
        return
        ;;
    --style)
        mapfile -t COMPREPLY < <(compgen -W "classic named" -- "$current")
        return
        ;;
    --host)
        mapfile -t COMPREPLY < <(compgen -A hostname -- "$current")
        return
        ;;
    --port | --for | --number | --at) return ;;
    esac
    local options
    case $command in
    hosts) options="--for --json" ;;
    patch) options="$host --for --save --format --json" ;;
    watch) options="$host --for --json" ;;
    create) options="--in $source --launch --json" ;;
    sync) options="$source --launch --allow-empty --json" ;;
    plan) options="$source --json" ;;
    signature) options="--from --json" ;;
    restore) options="--number --at --discard-recordings --json" ;;
    save) options="--confirm --json" ;;
    marker) options="--style --confirm --json" ;;
    markers) options="--format --json" ;;
    scenes) options="$host --for --save --json" ;;
    *) options="--json" ;;
    esac
    case $current in
    -*) mapfile -t COMPREPLY < <(compgen -W "$options $common" -- "$current") ;;
    *)
        case $command in
        sync | plan | signature | history | restore | markers)
            mapfile -t COMPREPLY < <(compgen -d -- "$current")
            compopt -o filenames
            ;;
        esac
        ;;
    esac
}
complete -F _corvanectl corvanectl
