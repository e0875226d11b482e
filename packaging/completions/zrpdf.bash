# SPDX-License-Identifier: MIT
# bash completion for zrpdf

_zrpdf() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]} IFS=$'\n' word ended=
    # "--name=value" comes in three words.
    if [[ $cur == = ]]; then
        cur=
    elif [[ $prev == = ]]; then
        prev=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        [[ $word == -- ]] && ended=1
    done
    COMPREPLY=()
    if [[ -z $ended ]]; then
        case $prev in
        -d | --directory)
            COMPREPLY=($(compgen -d -- "$cur"))
            compopt -o filenames
            return
            ;;
        --type)
            COMPREPLY=($(compgen -W $'public.html\npublic.xhtml\npublic.plain-text\npublic.svg-image\npublic.png\npublic.jpeg' -- "$cur"))
            return
            ;;
        --network)
            COMPREPLY=($(compgen -W $'all\npublic\nnone' -- "$cur"))
            return
            ;;
        -j | --jobs)
            COMPREPLY=($(compgen -W "$(seq 1 "$(nproc 2>/dev/null || echo 4)")" -- "$cur"))
            return
            ;;
        --title | --creator | -t | --timeout)
            return
            ;;
        esac
        if [[ $cur == -* ]]; then
            COMPREPLY=($(compgen -W $'-o\n--output\n-d\n--directory\n-f\n--force\n--title\n--creator\n--tagged\n--type\n--network\n-j\n--jobs\n-t\n--timeout\n--json\n--boot\n-q\n--quiet\n-v\n--verbose\n-h\n--help\n-V\n--version\n--' -- "$cur"))
            return
        fi
    fi
    COMPREPLY=($(compgen -f -- "$cur"))
    compopt -o filenames
}
complete -F _zrpdf zrpdf
