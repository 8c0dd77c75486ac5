# SPDX-License-Identifier: Apache-2.0
# Prints the values of shown.c, as a user would.
set width 0
set style enabled off
set confirm off
set print elements 200
break stop_here
run
echo \n=== loaded with the library\n
info pretty-printer .*libtarnbase_test.* tarnbase
python gdb.selected_frame().older().select()
echo \n=== texts\n
print short_text
print long_text
print empty_text
echo \n=== addresses\n
print ipv4
print ipv6
print no_address
echo \n=== truth value\n
print *flag
echo \n=== enumerations\n
print door
print no_lamp
echo \n=== structures\n
print every
print small
print grown
print tracked
echo \n=== by the header alone\n
print *any
tarnbase anything
echo \n=== records\n
print *number
print *pair
tarnbase pair
echo \n=== tables\n
print *numbers
print *pairs
echo \n=== handle\n
print *handle
echo \n=== descriptor\n
print *any->descriptor
echo \n=== limits\n
set print elements 4
print long_text
print grown
set print elements 200
echo \n=== what is no object\n
print (st_every *)&tx_id
print *(kel_record *)store
print (st_every *)1
python
try:
    gdb.execute("tarnbase &tx_id")
except gdb.error as error:
    print(error)
end
echo \n=== without printers\n
print /r ipv4.family
