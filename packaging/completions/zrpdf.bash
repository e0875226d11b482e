# SPDX-License-Identifier: MIT
# bash completion for zrpdf, zrpdf serve and zrpdf worker

_zrpdf() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]} IFS=$'\n' word verb= ended=
    # "--name=value" comes in three words.
    if [[ $cur == = ]]; then
        cur=
    elif [[ $prev == = ]]; then
        prev=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        [[ $word == -- ]] && ended=1
    done
    if ((COMP_CWORD > 1)) && [[ ${COMP_WORDS[1]} == serve || ${COMP_WORDS[1]} == worker ]]; then
        verb=${COMP_WORDS[1]}
    fi
    COMPREPLY=()
    if [[ -z $ended ]]; then
        case $verb$prev in
        -d | --directory)
            COMPREPLY=($(compgen -d -- "$cur"))
            compopt -o filenames
            return
            ;;
        --type)
            COMPREPLY=($(compgen -W $'public.html\npublic.xhtml\npublic.plain-text\npublic.svg-image\npublic.png\npublic.jpeg' -- "$cur"))
            return
            ;;
        --network | serve--network | worker--network)
            COMPREPLY=($(compgen -W $'all\npublic\nnone' -- "$cur"))
            return
            ;;
        serve--log)
            COMPREPLY=($(compgen -W $'lines\njson' -- "$cur"))
            return
            ;;
        -j | --jobs | serve--instances | worker-j | worker--instances | worker--urgent)
            COMPREPLY=($(compgen -W "$(seq 1 "$(nproc 2>/dev/null || echo 4)")" -- "$cur"))
            return
            ;;
        --broker-file | serve--broker-file | worker--broker-file | serve--listen | serve--token-file)
            COMPREPLY=($(compgen -f -- "$cur"))
            compopt -o filenames
            return
            ;;
        --title | --creator | *-t | *--timeout | *--broker | *--prefix | *--store | serve--queue | serve--max-body | \
            serve--grace | worker--store-age)
            return
            ;;
        esac
        if [[ $verb == serve ]]; then
            COMPREPLY=($(compgen -W $'--listen\n--allow-remote\n--token-file\n--instances\n--queue\n--max-body\n-t\n--timeout\n--broker\n--broker-file\n--prefix\n--store\n--network\n--grace\n--log\n-v\n--verbose\n-h\n--help\n-V\n--version' -- "$cur"))
            return
        elif [[ $verb == worker ]]; then
            COMPREPLY=($(compgen -W $'--broker\n--broker-file\n--prefix\n--store\n--store-age\n-j\n--instances\n--urgent\n-t\n--timeout\n--network\n-v\n--verbose\n-h\n--help\n-V\n--version' -- "$cur"))
            return
        elif [[ $cur == -* ]]; then
            COMPREPLY=($(compgen -W $'-o\n--output\n-d\n--directory\n-f\n--force\n--title\n--creator\n--tagged\n--type\n--network\n-j\n--jobs\n-t\n--timeout\n--json\n--boot\n-q\n--quiet\n-v\n--verbose\n-h\n--help\n-V\n--version\n--broker\n--broker-file\n--prefix\n--store\n--urgent\n--' -- "$cur"))
            return
        fi
    fi
    COMPREPLY=($(compgen -f -- "$cur"))
    # A file of that name is ./serve.
    ((COMP_CWORD > 1)) || COMPREPLY+=($(compgen -W $'serve\nworker' -- "$cur"))
    compopt -o filenames
}
complete -F _zrpdf zrpdf
