local report = dofile(arg[0]:match("^.*/") .. "report.lua")

local function work()
    local total = 0
    local mean = 0.0
    for i = 1, 6000000 do
        total = (total * 31 + i * 7) % 65521
        mean = mean + (total - mean) / 8
    end
    return total * 65536 + math.floor(mean)
end

report(work)
