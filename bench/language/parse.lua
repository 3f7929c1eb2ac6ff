local report = dofile(arg[0]:match("^.*/") .. "report.lua")

local function work()
    local replies = ""
    local count = 0
    while #replies < 65500 do
        count = count + 1
        replies = replies .. "LAMP HOURS=" .. count % 5000 .. " OK\r"
    end
    local sum = 0
    for _ = 1, 30 do
        local buffer = replies
        local found = buffer:find("\r", 1, true)
        while found do
            local line = buffer:sub(1, found)
            buffer = buffer:sub(found + 1)
            sum = (sum * 31 + tonumber(line:match("[-+]?%d+"))) % 65521
            found = buffer:find("\r", 1, true)
        end
    end
    return sum
end

report(work)
