local report = dofile(arg[0]:match("^.*/") .. "report.lua")

local function sort(count)
    local list = {}
    local seed = 1
    for i = 1, count do
        seed = (seed * 1103 + 12345) % 65536
        list[i] = seed
    end
    for i = 2, count do
        local key = list[i]
        local j = i - 1
        while j > 0 do
            if list[j] <= key then
                break
            end
            list[j + 1] = list[j]
            j = j - 1
        end
        list[j + 1] = key
    end
    local sum = 0
    for i = 1, count do
        sum = (sum * 31 + list[i]) % 65521
    end
    return sum
end

report(function() return sort(5000) end)
