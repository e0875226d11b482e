# SPDX-License-Identifier: MIT
# fish completion for zrpdf

complete -c zrpdf -s o -l output -r -F -d 'PDF of the only input, - for standard output'
complete -c zrpdf -s d -l directory -x -a '(__fish_complete_directories)' -d 'Folder for the PDFs'
complete -c zrpdf -s f -l force -d 'Replace files that exist already'
complete -c zrpdf -l title -x -d 'Title of the PDF'
complete -c zrpdf -l creator -x -d 'Creator of the PDF'
complete -c zrpdf -l tagged -d 'Tag the PDF for accessibility'
complete -c zrpdf -l type -x -a 'public.html public.xhtml public.plain-text public.svg-image public.png public.jpeg' -d 'Uniform type identifier of the input'
complete -c zrpdf -l network -x -a 'all public none' -d 'What the documents may reach'
complete -c zrpdf -s j -l jobs -x -d 'Number of service instances'
complete -c zrpdf -s t -l timeout -x -d 'Seconds after which a document is given up'
complete -c zrpdf -l json -d 'One JSON object for each input on standard output'
complete -c zrpdf -l boot -d 'Start the service and print its answer'
complete -c zrpdf -s q -l quiet -d 'Errors only'
complete -c zrpdf -s v -l verbose -d 'Log lines, too'
complete -c zrpdf -s h -l help -d 'Print a summary and end'
complete -c zrpdf -s V -l version -d 'Print the version and end'
