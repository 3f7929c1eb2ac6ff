local report = dofile(arg[0]:match("^.*/") .. "report.lua")

local function work()
    local volume, source, power, count = 0, 0, 0, 0
    local commands = {
        [0] = function() power = 1 end,
        function() power = 0 end,
        function() volume = volume + 1 end,
        function() volume = volume + 5 end,
        function() volume = volume % 100 end,
        function() volume = 20 end,
        function() source = 1 end,
        function() source = 2 end,
        function() source = 3 end,
        function() source = source + 1 end,
        function() count = count + power end,
        function() count = count + volume end,
        function() count = count + source end,
        function() count = count % 65521 end,
        function() count = count + 1 end,
        function() count = count + 2 end,
    }
    local seed = 1
    for _ = 1, 3000000 do
        seed = (seed * 1103 + 12345) % 65536
        commands[(seed >> 4) % 16]()
    end
    return (count * 1000 + volume + source + power) % 4294967296
end

report(work)
