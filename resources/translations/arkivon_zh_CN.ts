<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN">
<context>
    <name>messages</name>
    <message>
        <source>Online Event: 5001:%1:0</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Error:%1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Warning:%1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Object file %1 does not exist</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Object file %1 cannot be read</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Object file %1 is damaged or no program</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Network started.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>set level value: device ID is %1, level code is %2 and level value is %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[%1:%2:%3]send device command: %4</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>send device command: device id is %1, port number is %2 and sended data is %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[%1:%2:%3]send port command: %4</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>send port command: port number is %1 and sended data is %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>send socket command: port number is %1 and sended data is %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot open the port link %1: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Warning: Wrong port number was referred.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Error: Wrong serial port port number in send_string statement.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Error: Wrong port status queried.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Error: Too large IR number called.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Warning: Failed to open IR file corresponding with port %1.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Warning: Serial port protocol unset. Default to RS232.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Warning: Wrong serial port parity setting.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Error: Wrong serial port setting command.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Error: Wrong serial port baudrate setting.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Error: Unknown command &quot;%1&quot;</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Off relay: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>IO %1 output high</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>IR%1 output ir code %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[%1:%2:%3]Off relay: %4</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[%1:%2:%3]IO %4 output high</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[%1:%2:%3]IR%4 output ir code %5</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>On relay: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>IO %1 output low</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[%1:%2:%3]On relay: %4</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[%1:%2:%3]IO %4 output low</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pulse relay: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pulse IO %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>IR%1 pulse ir code %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[%1:%2:%3]Pulse relay: %4</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[%1:%2:%3]Pulse IO %4</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[%1:%2:%3]IR%4 pulse ir code %5</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>To relay: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>To IO %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>IR%1 to ir code %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[%1:%2:%3]To relay: %4</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[%1:%2:%3]To IO %4</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>[%1:%2:%3]IR%4 to ir code %5</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Buffer %1 overflowed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong hold time</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reassign value to const data. Assignment will be ignored.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong storage type defination</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong block variable defination</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong block variable storage type defination</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stack variable cannot have storage type</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong block variable type defination</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong array defination</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong value defination</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong defination</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Symbol [%1] already defined in current scope</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Call depth exceeded in function %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Function %1 has no return value</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong bool expression</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong if condition</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong active condition</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong while condition</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong for condition</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong level code expression</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong level value expression</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Failed to find variable %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong array expression</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong array index</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong expression</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Divided by 0</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong unary minus expression</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong bnot expression</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Variable %1 is not defined</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong ++ expression</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong -- expression</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Variable defination should be put at the start of block</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong wait time expression</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tool less type_cast function arguments</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Too may type_cast function arguments</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Too less %1 function arguments</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Too many %1 function arguments</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong %1 function argument</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong argument of %1 function</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>argument of %1 function is error</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Too less sin function arguments</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Too many sin function arguments</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong sin function argument</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Too less cos function arguments</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Too many cos function arguments</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong cos function argument</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Two many power_value function arguments</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Combined device must contain virtual device</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Uncombined device must contain virtual device</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Argument count of %1 function is too less</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Device argument of %1 function is not valid</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Channel code argument of %1 function is not valid</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Page name argument of %1 function is not valid</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>State index argument of %1 function is not valid</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Property name argument of %1 function is not valid</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Too less arguments for format function</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Too many arguments for format function</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Illegal format string</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong data to format</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>the argument of right_string function is error</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Timeline id of timeline_create function is not valid</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Array length must greater than 0 when creating timeline</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Array size cannot be negative</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Wrong data type</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Device id cannot be less than 0</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Device port id cannot be negative</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Device system number cannot be negative</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Channel code cannot be less than 0</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>level code cannot be less than 0</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot listen on address %1, UDP port %2: %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot listen on address %1, TCP port %2: %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot start the network threads</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Too long message in set_button_property function</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Too long message in set_button_state_property function</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Too long message in set_container_property function</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Too long message in container_call function</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Closed the connection with %1: it does not read</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Disconnected from %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>connected with %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connected with device: %1, version %2, id %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Button pressed: device id %1, channel code %2, level code %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Button released: device id %1, channel code %2, level code %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>level changed: device id %1, channel code %2, level code %3, level %4</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Set system number</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reboot device</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Change to DHCP mode</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Set ip address: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Device id less than 0 is not valid</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Device id cannot be greater than 46999</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Devcie port less than 1 is not valid</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Device system number less than 0 is not valid</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Function %1 has already defined in library</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Function %1 is already defined</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Call %1 is already defined</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
