#compdef zum_rehearse
# Completion of zum_rehearse for zsh.
_arguments -s -S \
    '(- *)'{-h,--help}'[print the help and exit]' \
    '(- *)--version[print the version and exit]' \
    '--all[show the ordinary products too]' \
    '(--csv)--json[write one JSON object a machine]' \
    '(--json)--csv[write a line a product]' \
    '--html[write a page with all machines, too]:page:_files' \
    '--changes[write what would change as a file for import]:file or folder:_files' \
    '--undo[write a file that undoes it]:file or folder:_files' \
    '--trace-output[write the trace into this folder]:folder:_files -/' \
    '--folders-from[take more files and folders from this list]:list:_files' \
    '*:export, hive or folder:_files'
