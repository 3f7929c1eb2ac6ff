-- In Neovim: the problems of a source that includes another, and what it knows of a name. Writes what is wrong to $REPORT.
local function run()
  vim.opt.runtimepath:prepend(vim.env.EDITORS .. '/vim')
  vim.cmd('filetype plugin on')
  vim.cmd('edit sub/room.src')
  assert(vim.wait(20000, function() return #vim.diagnostic.get(0) > 0 end, 20), 'no problems')
  local problem = vim.diagnostic.get(0)[1]
  assert(problem.lnum == 1 and problem.message:match("^unknown name 'größe'"), vim.inspect(problem))
  vim.fn.cursor(2, 19) -- on nLamp, behind letters of two bytes
  vim.cmd('normal! \29') -- CTRL-]
  local place = vim.fn.expand('%:t') .. vim.inspect(vim.fn.getpos('.'))
  assert(vim.fn.expand('%:t') == 'lamp.src' and vim.fn.col('.') == 9, place)
end
local good, reason = xpcall(run, debug.traceback)
vim.fn.writefile(good and {} or vim.split(reason, '\n'), vim.env.REPORT)
vim.cmd('qall!')
