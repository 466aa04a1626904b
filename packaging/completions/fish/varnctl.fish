# SPDX-License-Identifier: Apache-2.0
# Written by scripts/write_completions.py from what varnctl prints.
function __varnctl_at -a command place
    set -l given
    set -l skip 0
    for word in (commandline -opc)[2..-1]
        if test $skip = 1
            set skip 0
        else if contains -- $word --socket --timeout --level --last
            set skip 1
        else if not string match -q -- '-*' $word
            set -a given $word
        end
    end
    test (math (count $given) + 1) = $place; and test "$given[1]" = "$command"
end
complete -c varnctl -f
complete -c varnctl -s h -l help -d 'Print this help message and exit'
complete -c varnctl -l socket -r -F -d 'The service'\''s socket (else $VARN_DEVICE_SOCKET)'
complete -c varnctl -l timeout -r -f -d 'Milliseconds that a request may take'
complete -c varnctl -l json -d 'Show JSON instead of tables'
complete -c varnctl -l keep-going -d 'Go on with a script behind an error'
complete -c varnctl -l level -r -a 'trace error' -d 'Show records of this level and above'
complete -c varnctl -l last -r -f -d 'Show so many records, the last ones'
complete -c varnctl -n '__varnctl_at "" 1' -a set -d 'change fields of an interface'
complete -c varnctl -n '__varnctl_at "" 1' -a add -d 'make an interface'
complete -c varnctl -n '__varnctl_at "" 1' -a delete -d 'remove an interface'
complete -c varnctl -n '__varnctl_at "" 1' -a member -d 'put an interface into a port-channel, or take it out'
complete -c varnctl -n '__varnctl_at "" 1' -a vlan -d 'make, change, remove or show a VLAN'
complete -c varnctl -n '__varnctl_at "" 1' -a private -d 'attach data to an interface, or take it away'
complete -c varnctl -n '__varnctl_at "" 1' -a show -d 'show one interface, or the device'
complete -c varnctl -n '__varnctl_at "" 1' -a script -d 'carry out the commands above, one a line; - is standard input'
complete -c varnctl -n '__varnctl_at "" 1' -a history -d 'what client processes recorded, also those that ended'
complete -c varnctl -n '__varnctl_at "" 1' -a memory -d 'what client processes hold at this moment'
complete -c varnctl -n '__varnctl_at set 3' -a 'name type ordinal link protocol mtu mac encap ethernet p2p loopback mode forwarding vlan vrf member_of parent'
complete -c varnctl -n '__varnctl_at set 5' -a 'name type ordinal link protocol mtu mac encap ethernet p2p loopback mode forwarding vlan vrf member_of parent'
complete -c varnctl -n '__varnctl_at set 7' -a 'name type ordinal link protocol mtu mac encap ethernet p2p loopback mode forwarding vlan vrf member_of parent'
complete -c varnctl -n '__varnctl_at set 9' -a 'name type ordinal link protocol mtu mac encap ethernet p2p loopback mode forwarding vlan vrf member_of parent'
complete -c varnctl -n '__varnctl_at set 11' -a 'name type ordinal link protocol mtu mac encap ethernet p2p loopback mode forwarding vlan vrf member_of parent'
complete -c varnctl -n '__varnctl_at add 3' -a 'physical mgmt cbus svi port-channel gre loopback subinterface 6to4 null other mpls-tunnel mvpn-tunnel dci-tunnel dci-overlay'
complete -c varnctl -n '__varnctl_at add 4' -a 'name type ordinal link protocol mtu mac encap ethernet p2p loopback mode forwarding vlan vrf member_of parent'
complete -c varnctl -n '__varnctl_at add 6' -a 'name type ordinal link protocol mtu mac encap ethernet p2p loopback mode forwarding vlan vrf member_of parent'
complete -c varnctl -n '__varnctl_at add 8' -a 'name type ordinal link protocol mtu mac encap ethernet p2p loopback mode forwarding vlan vrf member_of parent'
complete -c varnctl -n '__varnctl_at add 10' -a 'name type ordinal link protocol mtu mac encap ethernet p2p loopback mode forwarding vlan vrf member_of parent'
complete -c varnctl -n '__varnctl_at add 12' -a 'name type ordinal link protocol mtu mac encap ethernet p2p loopback mode forwarding vlan vrf member_of parent'
complete -c varnctl -n '__varnctl_at member 3' -a 'add remove'
complete -c varnctl -n '__varnctl_at vlan 3' -a 'add set delete show'
complete -c varnctl -n '__varnctl_at vlan 4' -a 'primary bd flood_index'
complete -c varnctl -n '__varnctl_at vlan 6' -a 'primary bd flood_index'
complete -c varnctl -n '__varnctl_at vlan 8' -a 'primary bd flood_index'
complete -c varnctl -n '__varnctl_at vlan 10' -a 'primary bd flood_index'
complete -c varnctl -n '__varnctl_at vlan 12' -a 'primary bd flood_index'
complete -c varnctl -n '__varnctl_at private 4' -a 'none'
complete -c varnctl -n '__varnctl_at script 2' -F
