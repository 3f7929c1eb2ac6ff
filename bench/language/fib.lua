local report = dofile(arg[0]:match("^.*/") .. "report.lua")

local function fib(n)
    if n < 2 then
        return n
    end
    return fib(n - 1) + fib(n - 2)
end

report(function() return fib(32) end)
