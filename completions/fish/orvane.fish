# SPDX-License-Identifier: LGPL-2.1-or-later
#
# Completion of the orvane command in fish. Nothing is queried.

# The subcommand on the command line, of one word or two, and the words that follow it.
function __orvane_words
    set -l words (commandline -opc)
    for word in $words[2..]
        string match -q -- '-*' $word; or echo $word
    end
end

# Whether the subcommand is this one, and nothing or just these words follow it.
function __orvane_is
    test "$(__orvane_words | string join ' ')" = "$argv"
end

# Whether the command line begins with one of these subcommands.
function __orvane_in
    set -l line "$(__orvane_words | string join ' ')"
    for subcommand in $argv
        string match -q -- "$subcommand *" "$line "; and return
    end
    return 1
end

# An algorithm, or a list of digests in its place.
function __orvane_needs_algorithm
    __orvane_is digest; and not __fish_seen_argument -s c -l check
end

function __orvane_facts
    printf '%s\t%s\n' \
        root_device 'block device of the root file system' \
        disk 'disk of the root file system: model and serial number' \
        mac 'greatest permanent MAC address of the wired interfaces' \
        system_uuid 'SMBIOS system UUID' \
        vendor 'vendor of the machine' \
        model 'model: the SKU number' \
        serial 'product serial number (service tag)' \
        oem_info 'serial number and flash boot device, where there is one' \
        manufacturer 'class of the manufacturer' \
        lenovo '1 on a Lenovo machine, 0 on any other' \
        huawei_9x0 '1 with a Kirin 990, 9006C or 9A0 processor, 0 with any other' \
        os_version 'variant of the operating system: 2 education, 0 any other'
end

# Words of a list with commas, such as disk,mac.
function __orvane_required
    set -l before "$(commandline -t | string replace -r '^--require=' '' | string match -r '.*,')"
    __orvane_facts | string replace -r '^' -- "$before"
end

function __orvane_subcommands
    printf '%s\t%s\n' \
        show 'show what is known about this machine' \
        explain 'explain why facts have the answers they have, or none' \
        doctor 'find what is missing for facts that this machine could have' \
        save 'save the facts in a file, to compare with later' \
        compare 'compare the facts with those that were saved' \
        root-disk 'print the disk with the root file system' \
        digest 'print or check the digests of files' \
        signature 'check an RSA signature of a text' \
        gpg 'verify or encrypt with the built-in GPG key' \
        base64 'convert standard input to or from base64' \
        check-names "find names of a program that take the place of the library's" \
        help 'describe a subcommand, or the facts'
end

function __orvane_gpg
    printf '%s\t%s\n' \
        verify 'verify a file that carries its content and signatures' \
        encrypt 'encrypt the text on standard input'
end

function __orvane_base64
    printf '%s\t%s\n' \
        encode 'convert bytes to base64 on one line' \
        decode 'convert base64, on any number of lines, to bytes' \
        to-url 'convert base64 to the form for the query of a URL' \
        from-url 'convert the form for the query of a URL to base64'
end

complete -c orvane -f
complete -c orvane -s h -l help -d 'print this help'
complete -c orvane -n __orvane_is -s V -l version -d 'print the version, the signing key and the features'

complete -c orvane -n __orvane_is -a '(__orvane_subcommands)'
complete -c orvane -n '__orvane_is gpg' -a '(__orvane_gpg)'
complete -c orvane -n '__orvane_is base64' -a '(__orvane_base64)'
complete -c orvane -n '__orvane_is help' -a '(__orvane_subcommands)'
complete -c orvane -n '__orvane_is help' -a facts -d 'describe every fact'
complete -c orvane -n '__orvane_is help gpg' -a '(__orvane_gpg)'
complete -c orvane -n '__orvane_is help base64' -a '(__orvane_base64)'

complete -c orvane -n '__orvane_in show explain' -a '(__orvane_facts)'
complete -c orvane -n __orvane_needs_algorithm -a 'sha256 sha1 md5'
complete -c orvane -n '__orvane_in digest; and not __orvane_needs_algorithm' -F
complete -c orvane -n '__orvane_in save compare signature "gpg verify" check-names' -F

complete -c orvane -n '__orvane_in show' -l format -x -a 'table json shell' -d 'table, json, or shell: assignments to variables'
complete -c orvane -n '__orvane_in show' -s j -l json -d 'the same as --format=json'
complete -c orvane -n '__orvane_in show' -l require -x -a '(__orvane_required)' -d 'fail where one of these has no answer; words up to the next option, or separated by commas'
complete -c orvane -n '__orvane_in explain doctor compare' -s j -l json -d 'print one JSON object'
complete -c orvane -n '__orvane_in show explain' -l redact -d 'print hashes in the place of what identifies the machine'
complete -c orvane -n '__orvane_in show explain doctor save compare' -l trace -d "write the library's trace lines to its log, too"
complete -c orvane -n '__orvane_in explain' -l schema -d 'print the schema of the JSON of show, explain and save, alone'
complete -c orvane -n '__orvane_in digest' -s c -l check -r -F -d 'check the digests of a list, as sha256sum writes it; - is standard input'
complete -c orvane -n '__orvane_in digest' -l quiet -d 'print nothing about a file that matches'
complete -c orvane -n '__orvane_in digest' -l status -d 'print nothing about the files: the exit status has the result'
complete -c orvane -n '__orvane_in digest' -l ignore-missing -d 'pass over files that are missing'
complete -c orvane -n '__orvane_in digest' -l strict -d 'exit with 1 also where a line of the list is malformed'
complete -c orvane -n '__orvane_in signature' -l key -r -F -d 'public key in PEM, in the place of the one in /etc/orvane/public.pem'
complete -c orvane -n '__orvane_in "gpg verify"' -l output -r -F -d 'where to write its content (- is standard output)'
complete -c orvane -n '__orvane_in "gpg encrypt"' -l output -r -F -d 'where to write the message (standard output)'
