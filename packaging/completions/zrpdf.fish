# SPDX-License-Identifier: MIT
# fish completion for zrpdf, zrpdf serve and zrpdf worker

function __zrpdf_verb
    set -l words (commandline -opc)
    switch "$words[2]"
        case serve worker
            echo $words[2]
        case '*'
            echo convert
    end
end
function __zrpdf_is
    contains -- (__zrpdf_verb) $argv
end

complete -c zrpdf -n __fish_is_first_arg -a serve -d 'Convert for programs that ask by HTTP'
complete -c zrpdf -n __fish_is_first_arg -a worker -d 'Convert what comes from a RabbitMQ broker'
complete -c zrpdf -n '__zrpdf_is serve worker' -f

complete -c zrpdf -l broker -x -d 'URL of a node of the RabbitMQ broker'
complete -c zrpdf -l broker-file -r -F -d 'Such URLs from a file'
complete -c zrpdf -l prefix -x -d 'What the names of the queues begin with'
complete -c zrpdf -l store -x -d 'Where large documents are'
complete -c zrpdf -l network -x -a 'all public none' -d 'What the documents may reach'
complete -c zrpdf -s t -l timeout -x -d 'Seconds after which a document is given up'
complete -c zrpdf -s v -l verbose -d 'Log lines, too'
complete -c zrpdf -s h -l help -d 'Print a summary and end'
complete -c zrpdf -s V -l version -d 'Print the version and end'

complete -c zrpdf -n '__zrpdf_is convert' -s o -l output -r -F -d 'PDF of the only input, - for standard output'
complete -c zrpdf -n '__zrpdf_is convert' -s d -l directory -x -a '(__fish_complete_directories)' -d 'Folder for the PDFs'
complete -c zrpdf -n '__zrpdf_is convert' -s f -l force -d 'Replace files that exist already'
complete -c zrpdf -n '__zrpdf_is convert' -l title -x -d 'Title of the PDF'
complete -c zrpdf -n '__zrpdf_is convert' -l creator -x -d 'Creator of the PDF'
complete -c zrpdf -n '__zrpdf_is convert' -l tagged -d 'Tag the PDF for accessibility'
complete -c zrpdf -n '__zrpdf_is convert' -l type -x -a 'public.html public.xhtml public.plain-text public.svg-image public.png public.jpeg' -d 'Uniform type identifier of the input'
complete -c zrpdf -n '__zrpdf_is convert' -s j -l jobs -x -d 'Number of service instances'
complete -c zrpdf -n '__zrpdf_is convert' -l json -d 'One JSON object for each input on standard output'
complete -c zrpdf -n '__zrpdf_is convert' -l boot -d 'Start the service and print its answer'
complete -c zrpdf -n '__zrpdf_is convert' -s q -l quiet -d 'Errors only'
complete -c zrpdf -n '__zrpdf_is convert' -l urgent -d 'To the urgent queue of the broker'

complete -c zrpdf -n '__zrpdf_is serve' -l listen -r -F -d 'Address and port, or the path of a Unix socket'
complete -c zrpdf -n '__zrpdf_is serve' -l allow-remote -d 'Listen on addresses that other machines reach, too'
complete -c zrpdf -n '__zrpdf_is serve' -l token-file -r -F -d 'Clients have to show the token in the file'
complete -c zrpdf -n '__zrpdf_is serve' -l instances -x -d 'Documents that are converted at once'
complete -c zrpdf -n '__zrpdf_is serve' -l queue -x -d 'Documents that may wait besides'
complete -c zrpdf -n '__zrpdf_is serve' -l max-body -x -d 'Size of the largest request'
complete -c zrpdf -n '__zrpdf_is serve' -l grace -x -d 'Seconds for what has begun when told to stop'
complete -c zrpdf -n '__zrpdf_is serve' -l log -x -a 'lines json' -d 'Form of the log'

complete -c zrpdf -n '__zrpdf_is worker' -l store-age -x -d 'Hours that documents stay that nobody has fetched'
complete -c zrpdf -n '__zrpdf_is worker' -s j -l instances -x -d 'Documents at a time'
complete -c zrpdf -n '__zrpdf_is worker' -l urgent -x -d 'Urgent documents at a time, in addition'
