<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN">
<context>
    <name>messages</name>
    <message>
        <source>Error:%1</source>
        <translation>错误：%1</translation>
    </message>
    <message>
        <source>Warning:%1</source>
        <translation>警告：%1</translation>
    </message>
    <message>
        <source>Object file %1 does not exist</source>
        <translation>目标文件 %1 不存在</translation>
    </message>
    <message>
        <source>Object file %1 cannot be read</source>
        <translation>目标文件 %1 无法读取</translation>
    </message>
    <message>
        <source>Object file %1 is damaged or no program</source>
        <translation>目标文件 %1 已损坏或不是程序</translation>
    </message>
    <message>
        <source>Values are not kept: cannot write in %1: %2</source>
        <translation>数值不会保存：无法写入 %1：%2</translation>
    </message>
    <message>
        <source>File size is 0.</source>
        <translation>文件大小为 0。</translation>
    </message>
    <message>
        <source>Filename is empty.</source>
        <translation>文件名为空。</translation>
    </message>
    <message>
        <source>Begin to receive file %1. File size: %2 bytes.</source>
        <translation>开始接收文件 %1。文件大小：%2 字节。</translation>
    </message>
    <message>
        <source>start receive file.</source>
        <translation>开始接收文件。</translation>
    </message>
    <message>
        <source>File has been transfered successfully.</source>
        <translation>文件传输成功。</translation>
    </message>
    <message>
        <source>Failed to open file</source>
        <translation>打开文件失败</translation>
    </message>
    <message>
        <source>Failed to receive file</source>
        <translation>接收文件失败</translation>
    </message>
    <message>
        <source>Failed to send file</source>
        <translation>发送文件失败</translation>
    </message>
    <message>
        <source>Failed to write the file: %1</source>
        <translation>写入文件失败：%1</translation>
    </message>
    <message>
        <source>Data beyond the announced size</source>
        <translation>数据超出声明的大小</translation>
    </message>
    <message>
        <source>Size or digest is wrong</source>
        <translation>大小或摘要不正确</translation>
    </message>
    <message>
        <source>Another upload of this file is in progress</source>
        <translation>该文件正在由另一个连接上传</translation>
    </message>
    <message>
        <source>Not enough space on the disk: %1 bytes are free</source>
        <translation>磁盘空间不足：剩余 %1 字节</translation>
    </message>
    <message>
        <source>The archive is damaged</source>
        <translation>压缩包已损坏</translation>
    </message>
    <message>
        <source>%1 is encrypted or packed in an unknown way</source>
        <translation>%1 已加密或使用未知的压缩方式</translation>
    </message>
    <message>
        <source>This is no ZIP archive</source>
        <translation>这不是 ZIP 压缩包</translation>
    </message>
    <message>
        <source>The archive has more than %1 entries</source>
        <translation>压缩包中的条目超过 %1 个</translation>
    </message>
    <message>
        <source>%1 leads out of the web folder</source>
        <translation>%1 超出网页文件夹</translation>
    </message>
    <message>
        <source>%1 is a link or no plain file</source>
        <translation>%1 是链接或不是普通文件</translation>
    </message>
    <message>
        <source>The archive unpacks to more than %1 MiB</source>
        <translation>压缩包解压后超过 %1 MiB</translation>
    </message>
    <message>
        <source>Cannot write %1</source>
        <translation>无法写入 %1</translation>
    </message>
    <message>
        <source>%1 files unpacked</source>
        <translation>已解压 %1 个文件</translation>
    </message>
    <message>
        <source>Network started.</source>
        <translation>网络已启动。</translation>
    </message>
    <message>
        <source>set level value: device ID is %1, level code is %2 and level value is %3</source>
        <translation>设置电平值：设备号 %1，电平号 %2，电平值 %3</translation>
    </message>
    <message>
        <source>[%1:%2:%3]send device command: %4</source>
        <translation>[%1:%2:%3]发送设备命令：%4</translation>
    </message>
    <message>
        <source>send device command: device id is %1, port number is %2 and sended data is %3</source>
        <translation>发送设备命令：设备号 %1，端口号 %2，发送的数据为 %3</translation>
    </message>
    <message>
        <source>[%1:%2:%3]send port command: %4</source>
        <translation>[%1:%2:%3]发送端口命令：%4</translation>
    </message>
    <message>
        <source>send port command: port number is %1 and sended data is %2</source>
        <translation>发送端口命令：端口号 %1，发送的数据为 %2</translation>
    </message>
    <message>
        <source>send socket command: port number is %1 and sended data is %2</source>
        <translation>发送套接字命令：端口号 %1，发送的数据为 %2</translation>
    </message>
    <message>
        <source>There is no GPIO line %1. The chips are: %2</source>
        <translation>没有 GPIO 线 %1。现有芯片：%2</translation>
    </message>
    <message>
        <source>There is no GPIO chip for the line %1</source>
        <translation>没有 GPIO 芯片提供线 %1</translation>
    </message>
    <message>
        <source>%1 has the lines 0 to %2 only, not %3</source>
        <translation>%1 只有线 0 到 %2，没有 %3</translation>
    </message>
    <message>
        <source>%1 is in use by &quot;%2&quot;</source>
        <translation>%1 正被“%2”使用</translation>
    </message>
    <message>
        <source>%1 is no infrared device, such as /dev/lirc0 is</source>
        <translation>%1 不是红外设备（例如 /dev/lirc0）</translation>
    </message>
    <message>
        <source>%1 can only receive</source>
        <translation>%1 只能接收</translation>
    </message>
    <message>
        <source>%1 does not tell pulses and spaces</source>
        <translation>%1 不提供脉冲和间隔</translation>
    </message>
    <message>
        <source>%1 does not take a code of %2 Hz and %3 durations</source>
        <translation>%1 不接受 %2 Hz、%3 个时长的编码</translation>
    </message>
    <message>
        <source>Warning: Wrong port number was referred.</source>
        <translation>警告：引用了错误的端口号。</translation>
    </message>
    <message>
        <source>Error: Wrong serial port port number in send_string statement.</source>
        <translation>错误：send_string 语句中的串口端口号错误。</translation>
    </message>
    <message>
        <source>Error: Wrong port status queried.</source>
        <translation>错误：查询了错误的端口状态。</translation>
    </message>
    <message>
        <source>Error: Too large IR number called.</source>
        <translation>错误：调用的红外码编号过大。</translation>
    </message>
    <message>
        <source>Warning: Failed to open IR file corresponding with port %1.</source>
        <translation>警告：无法打开端口 %1 对应的红外文件。</translation>
    </message>
    <message>
        <source>Warning: Serial port protocol unset. Default to RS232.</source>
        <translation>警告：未设置串口协议，默认使用 RS232。</translation>
    </message>
    <message>
        <source>Warning: Wrong serial port parity setting.</source>
        <translation>警告：串口校验位设置错误。</translation>
    </message>
    <message>
        <source>Error: Wrong serial port setting command.</source>
        <translation>错误：串口设置命令错误。</translation>
    </message>
    <message>
        <source>Error: Wrong serial port baudrate setting.</source>
        <translation>错误：串口波特率设置错误。</translation>
    </message>
    <message>
        <source>Error: Unknown command &quot;%1&quot;</source>
        <translation>错误：未知命令“%1”</translation>
    </message>
    <message>
        <source>Off relay: %1</source>
        <translation>断开继电器：%1</translation>
    </message>
    <message>
        <source>IO %1 output high</source>
        <translation>IO %1 输出高电平</translation>
    </message>
    <message>
        <source>IR%1 output ir code %2</source>
        <translation>红外%1 输出红外码 %2</translation>
    </message>
    <message>
        <source>[%1:%2:%3]Off relay: %4</source>
        <translation>[%1:%2:%3]断开继电器：%4</translation>
    </message>
    <message>
        <source>[%1:%2:%3]IO %4 output high</source>
        <translation>[%1:%2:%3]IO %4 输出高电平</translation>
    </message>
    <message>
        <source>[%1:%2:%3]IR%4 output ir code %5</source>
        <translation>[%1:%2:%3]红外%4 输出红外码 %5</translation>
    </message>
    <message>
        <source>On relay: %1</source>
        <translation>闭合继电器：%1</translation>
    </message>
    <message>
        <source>IO %1 output low</source>
        <translation>IO %1 输出低电平</translation>
    </message>
    <message>
        <source>[%1:%2:%3]On relay: %4</source>
        <translation>[%1:%2:%3]闭合继电器：%4</translation>
    </message>
    <message>
        <source>[%1:%2:%3]IO %4 output low</source>
        <translation>[%1:%2:%3]IO %4 输出低电平</translation>
    </message>
    <message>
        <source>Pulse relay: %1</source>
        <translation>脉冲继电器：%1</translation>
    </message>
    <message>
        <source>Pulse IO %1</source>
        <translation>脉冲 IO %1</translation>
    </message>
    <message>
        <source>IR%1 pulse ir code %2</source>
        <translation>红外%1 脉冲红外码 %2</translation>
    </message>
    <message>
        <source>[%1:%2:%3]Pulse relay: %4</source>
        <translation>[%1:%2:%3]脉冲继电器：%4</translation>
    </message>
    <message>
        <source>[%1:%2:%3]Pulse IO %4</source>
        <translation>[%1:%2:%3]脉冲 IO %4</translation>
    </message>
    <message>
        <source>[%1:%2:%3]IR%4 pulse ir code %5</source>
        <translation>[%1:%2:%3]红外%4 脉冲红外码 %5</translation>
    </message>
    <message>
        <source>To relay: %1</source>
        <translation>保持继电器：%1</translation>
    </message>
    <message>
        <source>To IO %1</source>
        <translation>保持 IO %1</translation>
    </message>
    <message>
        <source>IR%1 to ir code %2</source>
        <translation>红外%1 保持红外码 %2</translation>
    </message>
    <message>
        <source>[%1:%2:%3]To relay: %4</source>
        <translation>[%1:%2:%3]保持继电器：%4</translation>
    </message>
    <message>
        <source>[%1:%2:%3]To IO %4</source>
        <translation>[%1:%2:%3]保持 IO %4</translation>
    </message>
    <message>
        <source>[%1:%2:%3]IR%4 to ir code %5</source>
        <translation>[%1:%2:%3]红外%4 保持红外码 %5</translation>
    </message>
    <message>
        <source>Buffer %1 overflowed</source>
        <translation>缓冲区 %1 溢出</translation>
    </message>
    <message>
        <source>Wrong hold time</source>
        <translation>错误的按住时间</translation>
    </message>
    <message>
        <source>Reassign value to const data. Assignment will be ignored.</source>
        <translation>对常量数据重新赋值，该赋值将被忽略。</translation>
    </message>
    <message>
        <source>Wrong storage type defination</source>
        <translation>错误的存储类型定义</translation>
    </message>
    <message>
        <source>Wrong block variable defination</source>
        <translation>错误的块变量定义</translation>
    </message>
    <message>
        <source>Wrong block variable storage type defination</source>
        <translation>错误的块变量存储类型定义</translation>
    </message>
    <message>
        <source>Stack variable cannot have storage type</source>
        <translation>栈变量不能有存储类型</translation>
    </message>
    <message>
        <source>Wrong block variable type defination</source>
        <translation>错误的块变量类型定义</translation>
    </message>
    <message>
        <source>Wrong array defination</source>
        <translation>错误的数组定义</translation>
    </message>
    <message>
        <source>Wrong value defination</source>
        <translation>错误的值定义</translation>
    </message>
    <message>
        <source>Wrong defination</source>
        <translation>错误的定义</translation>
    </message>
    <message>
        <source>Symbol [%1] already defined in current scope</source>
        <translation>符号 [%1] 在当前作用域中已定义</translation>
    </message>
    <message>
        <source>, called at %1</source>
        <translation>，调用处 %1</translation>
    </message>
    <message>
        <source>%1 more of other kinds</source>
        <translation>另有其他信息 %1 条</translation>
    </message>
    <message>
        <source>%1 [%2 times more]</source>
        <translation>%1 [另外 %2 次]</translation>
    </message>
    <message>
        <source>start</source>
        <translation>启动块</translation>
    </message>
    <message>
        <source>mainline</source>
        <translation>主循环</translation>
    </message>
    <message>
        <source>function %1</source>
        <translation>函数 %1</translation>
    </message>
    <message>
        <source>routine %1</source>
        <translation>例程 %1</translation>
    </message>
    <message>
        <source>push of %1</source>
        <translation>按下 %1</translation>
    </message>
    <message>
        <source>release of %1</source>
        <translation>松开 %1</translation>
    </message>
    <message>
        <source>hold of %1</source>
        <translation>按住 %1</translation>
    </message>
    <message>
        <source>online of %1</source>
        <translation>%1 上线</translation>
    </message>
    <message>
        <source>offline of %1</source>
        <translation>%1 离线</translation>
    </message>
    <message>
        <source>string of %1</source>
        <translation>%1 的字符串</translation>
    </message>
    <message>
        <source>command of %1</source>
        <translation>%1 的命令</translation>
    </message>
    <message>
        <source>onerror of %1</source>
        <translation>%1 的错误</translation>
    </message>
    <message>
        <source>level of %1</source>
        <translation>%1 的电平</translation>
    </message>
    <message>
        <source>timeline %1</source>
        <translation>时间线 %1</translation>
    </message>
    <message>
        <source>The program has been busy for %1 s</source>
        <translation>程序已忙碌 %1 秒</translation>
    </message>
    <message>
        <source>Ran for %1 ms</source>
        <translation>运行了 %1 毫秒</translation>
    </message>
    <message>
        <source>Call depth exceeded in %1</source>
        <translation>%1 的调用层数超限</translation>
    </message>
    <message>
        <source>Call depth exceeded in function %1</source>
        <translation>函数 %1 的调用层数超限</translation>
    </message>
    <message>
        <source>Function %1 has no return value</source>
        <translation>函数 %1 没有返回值</translation>
    </message>
    <message>
        <source>Wrong bool expression</source>
        <translation>错误的布尔表达式</translation>
    </message>
    <message>
        <source>Wrong if condition</source>
        <translation>错误的 if 条件</translation>
    </message>
    <message>
        <source>Wrong active condition</source>
        <translation>错误的 active 条件</translation>
    </message>
    <message>
        <source>Wrong while condition</source>
        <translation>错误的 while 条件</translation>
    </message>
    <message>
        <source>Wrong for condition</source>
        <translation>错误的 for 条件</translation>
    </message>
    <message>
        <source>Wrong level code expression</source>
        <translation>错误的电平号表达式</translation>
    </message>
    <message>
        <source>Wrong level value expression</source>
        <translation>错误的电平值表达式</translation>
    </message>
    <message>
        <source>Failed to find variable %1</source>
        <translation>找不到变量 %1</translation>
    </message>
    <message>
        <source>Wrong array expression</source>
        <translation>错误的数组表达式</translation>
    </message>
    <message>
        <source>Wrong array index</source>
        <translation>错误的数组下标</translation>
    </message>
    <message>
        <source>Wrong expression</source>
        <translation>错误的表达式</translation>
    </message>
    <message>
        <source>Divided by 0</source>
        <translation>除数为 0</translation>
    </message>
    <message>
        <source>Wrong unary minus expression</source>
        <translation>错误的取负表达式</translation>
    </message>
    <message>
        <source>Wrong bnot expression</source>
        <translation>错误的 bnot 表达式</translation>
    </message>
    <message>
        <source>Variable %1 is not defined</source>
        <translation>变量 %1 未定义</translation>
    </message>
    <message>
        <source>Wrong ++ expression</source>
        <translation>错误的 ++ 表达式</translation>
    </message>
    <message>
        <source>Wrong -- expression</source>
        <translation>错误的 -- 表达式</translation>
    </message>
    <message>
        <source>Variable defination should be put at the start of block</source>
        <translation>变量定义应放在块的开头</translation>
    </message>
    <message>
        <source>Wrong wait time expression</source>
        <translation>错误的等待时间表达式</translation>
    </message>
    <message>
        <source>Tool less type_cast function arguments</source>
        <translation>type_cast 函数的参数过少</translation>
    </message>
    <message>
        <source>Too may type_cast function arguments</source>
        <translation>type_cast 函数的参数过多</translation>
    </message>
    <message>
        <source>Too less %1 function arguments</source>
        <translation>%1 函数的参数过少</translation>
    </message>
    <message>
        <source>Too many %1 function arguments</source>
        <translation>%1 函数的参数过多</translation>
    </message>
    <message>
        <source>Wrong %1 function argument</source>
        <translation>%1 函数的参数错误</translation>
    </message>
    <message>
        <source>Wrong argument of %1 function</source>
        <translation>%1 函数的参数有误</translation>
    </message>
    <message>
        <source>argument of %1 function is error</source>
        <translation>%1 函数的参数出错</translation>
    </message>
    <message>
        <source>Too less sin function arguments</source>
        <translation>sin 函数的参数过少</translation>
    </message>
    <message>
        <source>Too many sin function arguments</source>
        <translation>sin 函数的参数过多</translation>
    </message>
    <message>
        <source>Wrong sin function argument</source>
        <translation>sin 函数的参数错误</translation>
    </message>
    <message>
        <source>Too less cos function arguments</source>
        <translation>cos 函数的参数过少</translation>
    </message>
    <message>
        <source>Too many cos function arguments</source>
        <translation>cos 函数的参数过多</translation>
    </message>
    <message>
        <source>Wrong cos function argument</source>
        <translation>cos 函数的参数错误</translation>
    </message>
    <message>
        <source>Two many power_value function arguments</source>
        <translation>power_value 函数的参数过多</translation>
    </message>
    <message>
        <source>Combined device must contain virtual device</source>
        <translation>组合设备必须包含虚拟设备</translation>
    </message>
    <message>
        <source>Uncombined device must contain virtual device</source>
        <translation>解除组合的设备必须包含虚拟设备</translation>
    </message>
    <message>
        <source>Argument count of %1 function is too less</source>
        <translation>%1 函数的参数个数过少</translation>
    </message>
    <message>
        <source>Device argument of %1 function is not valid</source>
        <translation>%1 函数的设备参数无效</translation>
    </message>
    <message>
        <source>Channel code argument of %1 function is not valid</source>
        <translation>%1 函数的通道号参数无效</translation>
    </message>
    <message>
        <source>Page name argument of %1 function is not valid</source>
        <translation>%1 函数的页面名参数无效</translation>
    </message>
    <message>
        <source>State index argument of %1 function is not valid</source>
        <translation>%1 函数的状态序号参数无效</translation>
    </message>
    <message>
        <source>Property name argument of %1 function is not valid</source>
        <translation>%1 函数的属性名参数无效</translation>
    </message>
    <message>
        <source>Too less arguments for format function</source>
        <translation>format 函数的参数过少</translation>
    </message>
    <message>
        <source>Too many arguments for format function</source>
        <translation>format 函数的参数过多</translation>
    </message>
    <message>
        <source>Illegal format string</source>
        <translation>非法的格式字符串</translation>
    </message>
    <message>
        <source>Wrong data to format</source>
        <translation>要格式化的数据错误</translation>
    </message>
    <message>
        <source>the argument of right_string function is error</source>
        <translation>right_string 函数的参数错误</translation>
    </message>
    <message>
        <source>Timeline id of timeline_create function is not valid</source>
        <translation>timeline_create 函数的时间线编号无效</translation>
    </message>
    <message>
        <source>Array length must greater than 0 when creating timeline</source>
        <translation>创建时间线时数组长度必须大于 0</translation>
    </message>
    <message>
        <source>Array size cannot be negative</source>
        <translation>数组大小不能为负</translation>
    </message>
    <message>
        <source>Wrong data type</source>
        <translation>错误的数据类型</translation>
    </message>
    <message>
        <source>Device id cannot be less than 0</source>
        <translation>设备号不能小于 0</translation>
    </message>
    <message>
        <source>Device port id cannot be negative</source>
        <translation>设备端口号不能为负</translation>
    </message>
    <message>
        <source>Device system number cannot be negative</source>
        <translation>设备系统号不能为负</translation>
    </message>
    <message>
        <source>Channel code cannot be less than 0</source>
        <translation>通道号不能小于 0</translation>
    </message>
    <message>
        <source>level code cannot be less than 0</source>
        <translation>电平号不能小于 0</translation>
    </message>
    <message>
        <source>Cannot listen on address %1, UDP port %2: %3</source>
        <translation>无法在地址 %1 的 UDP 端口 %2 上监听：%3</translation>
    </message>
    <message>
        <source>Cannot listen on address %1, TCP port %2: %3</source>
        <translation>无法在地址 %1 的 TCP 端口 %2 上监听：%3</translation>
    </message>
    <message>
        <source>Cannot start the network threads</source>
        <translation>无法启动网络线程</translation>
    </message>
    <message>
        <source>Too long message in set_button_property function</source>
        <translation>set_button_property 函数的消息过长</translation>
    </message>
    <message>
        <source>Too long message in set_button_state_property function</source>
        <translation>set_button_state_property 函数的消息过长</translation>
    </message>
    <message>
        <source>Too long message in set_container_property function</source>
        <translation>set_container_property 函数的消息过长</translation>
    </message>
    <message>
        <source>Too long message in container_call function</source>
        <translation>container_call 函数的消息过长</translation>
    </message>
    <message>
        <source>Closed the connection with %1: it does not read</source>
        <translation>已关闭与 %1 的连接：对方不接收数据</translation>
    </message>
    <message>
        <source>Closed the connection with %1: peers take too much memory</source>
        <translation>已关闭与 %1 的连接：对端占用内存过多</translation>
    </message>
    <message>
        <source>Refused a connection of %1: there are too many</source>
        <translation>已拒绝来自 %1 的连接：连接过多</translation>
    </message>
    <message>
        <source>Warning:A page of %1 may not use the WebSocket server</source>
        <translation>警告：%1 的网页不得使用 WebSocket 服务器</translation>
    </message>
    <message>
        <source>Disconnected from %1</source>
        <translation>与 %1 的连接已断开</translation>
    </message>
    <message>
        <source>connected with %1</source>
        <translation>已与 %1 连接</translation>
    </message>
    <message>
        <source>Connected with device: %1, version %2, id %3</source>
        <translation>已与设备连接：%1，版本 %2，编号 %3</translation>
    </message>
    <message>
        <source>Button pressed: device id %1, channel code %2, level code %3</source>
        <translation>按钮按下：设备号 %1，通道号 %2，电平号 %3</translation>
    </message>
    <message>
        <source>Button released: device id %1, channel code %2, level code %3</source>
        <translation>按钮释放：设备号 %1，通道号 %2，电平号 %3</translation>
    </message>
    <message>
        <source>level changed: device id %1, channel code %2, level code %3, level %4</source>
        <translation>电平改变：设备号 %1，通道号 %2，电平号 %3，电平 %4</translation>
    </message>
    <message>
        <source>Set system number</source>
        <translation>设置系统号</translation>
    </message>
    <message>
        <source>Reboot device</source>
        <translation>重启设备</translation>
    </message>
    <message>
        <source>Change to DHCP mode</source>
        <translation>切换到 DHCP 模式</translation>
    </message>
    <message>
        <source>Set ip address: %1</source>
        <translation>设置 IP 地址：%1</translation>
    </message>
    <message>
        <source>Device id less than 0 is not valid</source>
        <translation>小于 0 的设备号无效</translation>
    </message>
    <message>
        <source>Device id cannot be greater than 46999</source>
        <translation>设备号不能大于 46999</translation>
    </message>
    <message>
        <source>Devcie port less than 1 is not valid</source>
        <translation>小于 1 的设备端口号无效</translation>
    </message>
    <message>
        <source>Device system number less than 0 is not valid</source>
        <translation>小于 0 的设备系统号无效</translation>
    </message>
    <message>
        <source>Function %1 has already defined in library</source>
        <translation>函数 %1 已在函数库中定义</translation>
    </message>
    <message>
        <source>Function %1 is already defined</source>
        <translation>函数 %1 已定义</translation>
    </message>
    <message>
        <source>Call %1 is already defined</source>
        <translation>例程 %1 已定义</translation>
    </message>
    <message>
        <source>System changes are off: network and date stay</source>
        <translation>系统更改已关闭：网络和日期保持不变</translation>
    </message>
    <message>
        <source>The system script %1 failed: %2</source>
        <translation>系统脚本 %1 失败：%2</translation>
    </message>
    <message>
        <source>Online Event: 5001:%1:%2</source>
        <translation>上线事件：5001:%1:%2</translation>
    </message>
    <message>
        <source>Offline Event: 5001:%1:%2</source>
        <translation>下线事件：5001:%1:%2</translation>
    </message>
    <message>
        <source>[%1:%2:%3]got port data: %4</source>
        <translation>[%1:%2:%3]收到端口数据：%4</translation>
    </message>
    <message>
        <source>got push event: [5001:18:%1, %2]</source>
        <translation>收到按下事件：[5001:18:%1, %2]</translation>
    </message>
    <message>
        <source>got release event: [5001:18:%1, %2]</source>
        <translation>收到释放事件：[5001:18:%1, %2]</translation>
    </message>
    <message>
        <source>Error:Too long message for another controller</source>
        <translation>错误：发往其他控制器的消息过长</translation>
    </message>
    <message>
        <source>Wrong %1 function localport</source>
        <translation>%1 函数的本地端口错误</translation>
    </message>
    <message>
        <source>Wrong %1 function local ip port</source>
        <translation>%1 函数的本地网络端口错误</translation>
    </message>
    <message>
        <source>Wrong %1 function server address</source>
        <translation>%1 函数的服务器地址错误</translation>
    </message>
    <message>
        <source>Wrong %1 function server port</source>
        <translation>%1 函数的服务器端口错误</translation>
    </message>
    <message>
        <source>Unknown protocol in %1 function</source>
        <translation>%1 函数的协议未知</translation>
    </message>
    <message>
        <source>%1 function local port is not valid</source>
        <translation>%1 函数的本地端口无效</translation>
    </message>
    <message>
        <source>%1 function server port is not valid</source>
        <translation>%1 函数的服务器端口无效</translation>
    </message>
    <message>
        <source>%1 function protocol is not valid</source>
        <translation>%1 函数的协议无效</translation>
    </message>
    <message>
        <source>%1 function local port is invalid</source>
        <translation>%1 函数的本地端口无效</translation>
    </message>
    <message>
        <source>Wrong %1 port</source>
        <translation>%1 的端口错误</translation>
    </message>
    <message>
        <source>Argument of %1 function is too less</source>
        <translation>%1 函数的参数过少</translation>
    </message>
    <message>
        <source>Too many messages of %1 function are waiting, one was dropped</source>
        <translation>%1 函数等待发送的消息过多，已丢弃一条</translation>
    </message>
    <message>
        <source>Online Event: Device 0:%1:0 online</source>
        <translation>上线事件：设备 0:%1:0 上线</translation>
    </message>
    <message>
        <source>Offline Event: Device 0:%1:0 offline</source>
        <translation>离线事件：设备 0:%1:0 离线</translation>
    </message>
    <message>
        <source>got socket data: device is 0:%1:0 and data is %2</source>
        <translation>收到套接字数据：设备 0:%1:0，数据为 %2</translation>
    </message>
    <message>
        <source>Device 0:%1:0 error event occured</source>
        <translation>设备 0:%1:0 发生错误事件</translation>
    </message>
    <message>
        <source>Cannot open the console port %1: %2</source>
        <translation>无法打开控制台端口 %1：%2</translation>
    </message>
    <message>
        <source>The transfer was cancelled</source>
        <translation>传输已取消</translation>
    </message>
    <message>
        <source>The web server is not encrypted: cannot use %1 and %2: %3</source>
        <translation>网页服务器未加密：无法使用 %1 和 %2：%3</translation>
    </message>
    <message>
        <source>the key is none of RSA or EC without a password</source>
        <translation>密钥不是无密码的 RSA 或 EC 密钥</translation>
    </message>
    <message>
        <source>there is no certificate</source>
        <translation>没有证书</translation>
    </message>
    <message>
        <source>The web settings name no port</source>
        <translation>网页设置中没有端口</translation>
    </message>
    <message>
        <source>Web pages on port %1</source>
        <translation>网页端口：%1</translation>
    </message>
    <message>
        <source>Program %1, system %2</source>
        <translation>程序 %1，系统号 %2</translation>
    </message>
    <message>
        <source>No program, system %1</source>
        <translation>没有程序，系统号 %1</translation>
    </message>
    <message>
        <source>Starting again</source>
        <translation>正在重新启动</translation>
    </message>
    <message>
        <source>Ending</source>
        <translation>正在结束</translation>
    </message>
    <message>
        <source>%1 is no netmask of a network</source>
        <translation>%1 不是可用的子网掩码</translation>
    </message>
    <message>
        <source>%1 is no address that a controller can have</source>
        <translation>%1 不能用作控制器的地址</translation>
    </message>
    <message>
        <source>The gateway %1 is no neighbour of %2 with netmask %3</source>
        <translation>网关 %1 不在地址 %2（子网掩码 %3）所在的网络中</translation>
    </message>
    <message>
        <source>%1 is no address of a name server</source>
        <translation>%1 不是域名服务器的地址</translation>
    </message>
    <message>
        <source>The network stays as it was: %1</source>
        <translation>网络保持原样：%1</translation>
    </message>
    <message>
        <source>Waiting for the network interface %1</source>
        <translation>正在等待网络接口 %1</translation>
    </message>
    <message>
        <source>another change is being tried</source>
        <translation>正在尝试另一项更改</translation>
    </message>
    <message>
        <source>Waiting for the address %1, which this machine does not have yet</source>
        <translation>正在等待地址 %1，本机目前还没有该地址</translation>
    </message>
    <message>
        <source>The address %1 has come</source>
        <translation>地址 %1 已可用</translation>
    </message>
    <message>
        <source>Cannot save %1: %2</source>
        <translation>无法保存 %1：%2</translation>
    </message>
    <message>
        <source>%1 is saved again</source>
        <translation>%1 已重新保存</translation>
    </message>
    <message>
        <source>%1 cannot be read whole: %2; it is kept as %3</source>
        <translation>%1 无法完整读取：%2；原文件保留为 %3</translation>
    </message>
    <message>
        <source>%1 cannot be read whole: %2</source>
        <translation>%1 无法完整读取：%2</translation>
    </message>
    <message>
        <source>%1 values can be read</source>
        <translation>可读取 %1 个数值</translation>
    </message>
    <message>
        <source>some lines make no sense</source>
        <translation>部分行无法识别</translation>
    </message>
    <message>
        <source>The stored value of %1 is of another kind and is not read</source>
        <translation>%1 的存储值类型不同，未读取</translation>
    </message>
    <message>
        <source>there is no port %1</source>
        <translation>没有端口 %1</translation>
    </message>
    <message>
        <source>input comes at serial1 to serial8, io1 to io8 and ir1 to ir4 only</source>
        <translation>只有 serial1 到 serial8 和 io1 到 io8 有输入</translation>
    </message>
    <message>
        <source>%1 is not simulated: it is %2</source>
        <translation>%1 不是模拟端口：它是 %2</translation>
    </message>
    <message>
        <source>a contact is on or off</source>
        <translation>触点只能是 on 或 off</translation>
    </message>
    <message>
        <source>it is not there, and is switched when it is back</source>
        <translation>设备不在，恢复后再切换</translation>
    </message>
    <message>
        <source>the code is of another kind; arkctl ir build makes such codes</source>
        <translation>红外码格式不同；用 arkctl ir build 生成这种码</translation>
    </message>
    <message>
        <source>the code is not sent: the device is away, or too many wait</source>
        <translation>红外码未发送：设备不在，或等待的码过多</translation>
    </message>
    <message>
        <source>it is a folder, not a device</source>
        <translation>这是文件夹，不是设备</translation>
    </message>
    <message>
        <source>it is a file, not a device</source>
        <translation>这是文件，不是设备</translation>
    </message>
    <message>
        <source>%1 (%2) is open again</source>
        <translation>%1（%2）已重新打开</translation>
    </message>
    <message>
        <source>it cannot be opened: %1</source>
        <translation>无法打开：%1</translation>
    </message>
    <message>
        <source>the device has gone: %1</source>
        <translation>设备已断开：%1</translation>
    </message>
    <message>
        <source>Error:%1 (%2): %3</source>
        <translation>错误：%1（%2）：%3</translation>
    </message>
    <message>
        <source>the program does not follow: data is lost</source>
        <translation>程序处理不及：数据丢失</translation>
    </message>
    <message>
        <source>it is not open: %1 bytes were not sent</source>
        <translation>端口未打开：%1 个字节未发送</translation>
    </message>
    <message>
        <source>it takes nothing: what is sent is lost</source>
        <translation>设备不接收数据：发送的数据丢失</translation>
    </message>
    <message>
        <source>it hung up</source>
        <translation>线路挂断</translation>
    </message>
    <message>
        <source>Warning:Relay %1 is not as it was switched</source>
        <translation>警告：继电器 %1 的状态与切换的不同</translation>
    </message>
    <message>
        <source>"%1" is neither true nor false</source>
        <translation>“%1”既不是 true 也不是 false</translation>
    </message>
    <message>
        <source>"%1" is none of as-is, disabled, pull-up and pull-down</source>
        <translation>“%1”不是 as-is、disabled、pull-up、pull-down 之一</translation>
    </message>
    <message>
        <source>"%1" is no number from 0 to %2</source>
        <translation>“%1”不是 0 到 %2 的数</translation>
    </message>
    <message>
        <source>ports.ini line %1: "%2" is neither [PORT] nor, below one, KEY=VALUE</source>
        <translation>ports.ini 第 %1 行：“%2”既不是 [端口]，也不是其下的 键=值</translation>
    </message>
    <message>
        <source>there are only serial1 to serial8, relay1 to relay8, io1 to io8, ir1 to ir4 and portLink</source>
        <translation>只有 serial1 到 serial8、relay1 到 relay8、io1 到 io8、ir1 到 ir4 和 portLink</translation>
    </message>
    <message>
        <source>it stands there twice, the first one counts</source>
        <translation>出现两次，以第一个为准</translation>
    </message>
    <message>
        <source>there is no such key, but %1</source>
        <translation>没有这个键，可用的有 %1</translation>
    </message>
    <message>
        <source>it is missing; it looks like %1</source>
        <translation>缺少，形如 %1</translation>
    </message>
    <message>
        <source>%1 is behind [%2] already</source>
        <translation>%1 已用于 [%2]</translation>
    </message>
    <message>
        <source>it is in use by %1</source>
        <translation>正被 %1 使用</translation>
    </message>
    <message>
        <source>the device does not take %1 baud</source>
        <translation>设备不支持波特率 %1</translation>
    </message>
    <message>
        <source>the device does not take this parity, or these stop bits</source>
        <translation>设备不支持这种校验或停止位</translation>
    </message>
    <message>
        <source>its driver does not switch RS-485: %1</source>
        <translation>驱动程序不能切换 RS-485：%1</translation>
    </message>
    <message>
        <source>%1: DeviceAllow of the service must name it</source>
        <translation>%1：服务的 DeviceAllow 必须列出它</translation>
    </message>
    <message>
        <source>%1: it belongs to root; a udev rule gives it to a group</source>
        <translation>%1：它属于 root；用 udev 规则把它交给一个组</translation>
    </message>
    <message>
        <source>%1: who opens it must be in the group %2</source>
        <translation>%1：打开它的用户必须属于组 %2</translation>
    </message>
    <message>
        <source>the system's console</source>
        <translation>系统控制台</translation>
    </message>
    <message>
        <source>the input is not in hexadecimal</source>
        <translation>输入不是十六进制</translation>
    </message>
    <message>
        <source>it is no code; arkctl ir build makes such codes</source>
        <translation>这不是编码；arkctl ir build 可以生成</translation>
    </message>
    <message>
        <source>%1; before that %2 more were refused</source>
        <translation>%1；此前还有 %2 次被拒绝</translation>
    </message>
    <message>
        <source>the value is longer than %1</source>
        <translation>值超过 %1 个字符</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not KEY=VALUE</source>
        <translation>“%1”不是 键=值</translation>
    </message>
    <message>
        <source>The program has no timeline_event</source>
        <translation>程序中没有 timeline_event</translation>
    </message>
    <message>
        <source>No %2 of the program is for %1</source>
        <translation>程序中没有针对 %1 的 %2</translation>
    </message>
    <message>
        <source>The program declares no device %1</source>
        <translation>程序没有声明设备 %1</translation>
    </message>
    <message>
        <source>Its %1 has no part for &quot;%2&quot;, only for: %3</source>
        <translation>它的 %1 没有“%2”部分，只有：%3</translation>
    </message>
    <message>
        <source>The button_events of %1 listen to other channels: %2</source>
        <translation>%1 的 button_event 监听的是其他通道：%2</translation>
    </message>
    <message>
        <source>The level_events of %1 listen to other levels: %2</source>
        <translation>%1 的 level_event 监听的是其他电平：%2</translation>
    </message>
    <message>
        <source>The timeline_events listen to other timelines: %1</source>
        <translation>timeline_event 监听的是其他时间线：%1</translation>
    </message>
    <message>
        <source>The data_events listen to other ports of device %1: %2</source>
        <translation>data_event 监听的是设备 %1 的其他端口：%2</translation>
    </message>
    <message>
        <source>No trace is kept: start the controller without --trace-memory 0</source>
        <translation>没有保存跟踪记录：请不要用 --trace-memory 0 启动控制器</translation>
    </message>
    <message>
        <source>A tool set %1 to %2</source>
        <translation>工具把 %1 设为 %2</translation>
    </message>
    <message>
        <source>The controller does not know this question</source>
        <translation>控制器不认识这个查询</translation>
    </message>
    <message>
        <source>No program is loaded</source>
        <translation>没有加载程序</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 秒</translation>
    </message>
    <message>
        <source>No push of %1 has come in since %2</source>
        <translation>自 %2 起没有收到 %1 的按下</translation>
    </message>
    <message>
        <source>the start</source>
        <translation>启动</translation>
    </message>
    <message>
        <source>The panel %1 is not connected</source>
        <translation>触摸屏 %1 未连接</translation>
    </message>
    <message>
        <source>No handler took it</source>
        <translation>没有处理程序响应它</translation>
    </message>
    <message>
        <source>Its handler ran for %1 ms: %2</source>
        <translation>它的处理程序运行了 %1 毫秒：%2</translation>
    </message>
    <message>
        <source>It switched, sent and changed nothing</source>
        <translation>它没有切换、发送或更改任何东西</translation>
    </message>
    <message>
        <source>Later, %1: %2</source>
        <translation>之后，%1：%2</translation>
    </message>
    <message>
        <source>wait &apos;%1&apos; is over</source>
        <translation>等待“%1”结束</translation>
    </message>
    <message>
        <source>a wait is over</source>
        <translation>等待结束</translation>
    </message>
    <message>
        <source>the pulse of %1 ends</source>
        <translation>%1 的脉冲结束</translation>
    </message>
    <message>
        <source>what TO held is let go</source>
        <translation>放开 TO 保持的通道</translation>
    </message>
    <message>
        <source>not connected</source>
        <translation>未连接</translation>
    </message>
    <message>
        <source>was %1</source>
        <translation>原为 %1</translation>
    </message>
    <message>
        <source>alone of the group %1</source>
        <translation>组 %1 中唯一接通</translation>
    </message>
    <message>
        <source>no level event: level and value must both differ from the ones before</source>
        <translation>没有电平事件：电平号和数值都必须与上一次不同</translation>
    </message>
    <message>
        <source>no answer</source>
        <translation>没有回答</translation>
    </message>
    <message>
        <source>it is pending already</source>
        <translation>已在等待中</translation>
    </message>
    <message>
        <source>socket %1 opens: %2</source>
        <translation>套接字 %1 打开：%2</translation>
    </message>
    <message>
        <source>socket %1 closes</source>
        <translation>套接字 %1 关闭</translation>
    </message>
    <message>
        <source>%1 more steps</source>
        <translation>另有 %1 步</translation>
    </message>
    <message>
        <source>The program has no variable &quot;%1&quot;</source>
        <translation>程序没有变量“%1”</translation>
    </message>
    <message>
        <source>Not a variable, element or member: &quot;%1&quot;</source>
        <translation>不是变量、元素或成员：“%1”</translation>
    </message>
    <message>
        <source>There is no element %1</source>
        <translation>没有元素 %1</translation>
    </message>
    <message>
        <source>There is no member %1</source>
        <translation>没有成员 %1</translation>
    </message>
    <message>
        <source>%1 is a constant</source>
        <translation>%1 是常量</translation>
    </message>
    <message>
        <source>%1 belongs to the system</source>
        <translation>%1 属于系统</translation>
    </message>
    <message>
        <source>%1 takes a text: &apos;text&apos;</source>
        <translation>%1 需要文本：&apos;text&apos;</translation>
    </message>
    <message>
        <source>%1 takes a number: 40, -1.5 or $1F</source>
        <translation>%1 需要数字：40、-1.5 或 $1F</translation>
    </message>
    <message>
        <source>%1 has parts: set one of them</source>
        <translation>%1 由多个部分组成：请设置其中之一</translation>
    </message>
    <message>
        <source>connection refused</source>
        <translation>连接被拒绝</translation>
    </message>
    <message>
        <source>closed by the other end</source>
        <translation>被对方关闭</translation>
    </message>
    <message>
        <source>unknown host</source>
        <translation>未知主机</translation>
    </message>
    <message>
        <source>not allowed</source>
        <translation>不允许</translation>
    </message>
    <message>
        <source>no address, or too many sockets</source>
        <translation>不是地址，或套接字过多</translation>
    </message>
    <message>
        <source>timed out</source>
        <translation>超时</translation>
    </message>
    <message>
        <source>datagram too large</source>
        <translation>数据报过大</translation>
    </message>
    <message>
        <source>network unreachable</source>
        <translation>网络不可达</translation>
    </message>
    <message>
        <source>port in use</source>
        <translation>端口已被占用</translation>
    </message>
    <message>
        <source>address not of this machine</source>
        <translation>不是本机的地址</translation>
    </message>
    <message>
        <source>socket error</source>
        <translation>套接字错误</translation>
    </message>
</context>
</TS>
