local report = dofile(arg[0]:match("^.*/") .. "report.lua")

local function sieve(top)
    local flags = { 0 }
    local sum = 0
    for i = 2, top do
        flags[i] = 1
    end
    for i = 2, top do
        if flags[i] == 1 then
            sum = (sum + i) % 1000003
            local multiple = i + i
            while multiple <= top do
                flags[multiple] = 0
                multiple = multiple + i
            end
        end
    end
    return sum
end

report(function() return sieve(2000000) end)
