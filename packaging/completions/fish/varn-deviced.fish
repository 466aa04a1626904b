# SPDX-License-Identifier: Apache-2.0
# Written by scripts/write_completions.py from what varn-deviced prints.
complete -c varn-deviced -f
complete -c varn-deviced -s h -l help -d 'Print this help message and exit'
complete -c varn-deviced -l source -r -a 'kernel' -F -d 'Where interfaces come from: kernel, or the file of an inventory'
complete -c varn-deviced -l socket -r -F -d 'Path of the socket to serve'
complete -c varn-deviced -l event-buffer -r -f -d 'Bytes of the kernel'\''s notifications that may wait to be read'
complete -c varn-deviced -l queue -r -f -d 'Notices that may wait for a client that does not read'
complete -c varn-deviced -l schema -d 'Print the JSON schema of an inventory and end'
