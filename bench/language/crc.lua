local report = dofile(arg[0]:match("^.*/") .. "report.lua")

local function crcOf(block, count)
    local crc = 0xFFFF
    for i = 1, count do
        crc = crc ~ block[i]
        for _ = 1, 8 do
            if crc & 1 ~= 0 then
                crc = (crc >> 1) ~ 0xA001
            else
                crc = crc >> 1
            end
        end
    end
    return crc
end

local function work()
    local block = {}
    local sum = 0
    for i = 1, 4096 do
        block[i] = (i * 7) % 251
    end
    for pass = 1, 160 do
        block[1] = pass
        sum = (sum * 31 + crcOf(block, 4096)) % 65521
    end
    return sum
end

report(work)
