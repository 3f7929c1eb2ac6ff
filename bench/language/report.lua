-- Runs a workload and prints what the table needs: its checksum, its CPU time and the process's peak memory.
return function(work)
    local began = os.clock()
    local checksum = work()
    local seconds = os.clock() - began
    local status = io.open("/proc/self/status"):read("a")
    print("checksum " .. checksum)
    print(string.format("seconds %.6f", seconds))
    print("peak_kb " .. status:match("VmHWM:%s*(%d+)"))
end
