-- Neovim: one `arkc lsp` for all sources that are open.
local M = {}
local client

local function attached(_, buffer)
  vim.bo[buffer].omnifunc = 'v:lua.vim.lsp.omnifunc'
  vim.bo[buffer].tagfunc = 'v:lua.vim.lsp.tagfunc'
  vim.api.nvim_buf_set_keymap(buffer, 'n', 'K', '<cmd>lua vim.lsp.buf.hover()<CR>', { noremap = true })
end

function M.start()
  local config = {
    name = 'arkc', cmd = { 'arkc', 'lsp' }, root_dir = vim.fn.getcwd(), on_attach = attached,
    init_options = { program = vim.g.arkivon_program or '' },
  }
  if vim.lsp.start then
    vim.lsp.start(config)
    return
  end
  if not client or not vim.lsp.get_client_by_id(client) then -- before 0.8
    client = vim.lsp.start_client(config)
  end
  vim.lsp.buf_attach_client(0, client)
end

return M
