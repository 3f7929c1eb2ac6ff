local report = dofile(arg[0]:match("^.*/") .. "report.lua")

local steps = {}
for byte = 0, 255 do
    local crc = byte
    for _ = 1, 8 do
        crc = crc & 1 == 1 and (crc >> 1) ~ 0xA001 or crc >> 1
    end
    steps[byte] = crc
end

local function modbus_crc16(block)
    local crc = 0xFFFF
    for at = 1, #block do
        crc = (crc >> 8) ~ steps[(crc ~ block:byte(at)) & 0xFF]
    end
    return crc
end

local function work()
    local bytes = {}
    for i = 0, 255 do
        bytes[i + 1] = string.char(i)
    end
    local block = table.concat(bytes):rep(4096)
    local sum = 0
    for i = 1, 3 do
        block = string.char(i) .. block:sub(2)
        sum = (sum * 31 + modbus_crc16(block)) % 65521
    end
    return sum
end

report(work)
