-- Neovim (0.7 or later) set-up for parameter files: the file type and the
-- language server `teskpf lsp`, started once and attached to every *.pf
-- buffer. Copy this file to ~/.config/nvim/lua/teskpf.lua and add
--   require('teskpf').setup()
-- to init.lua; pass { path = 'dir1:dir2' } to check files as layers of that
-- search path instead of PFPATH's, or { cmd = { '/path/to/teskpf', 'lsp' } }.
local M = {}

local client_id = nil

local function start(options)
  if client_id and vim.lsp.get_client_by_id(client_id) then
    return client_id
  end
  local init_options = nil
  if options.path then
    init_options = { teskpf = { path = options.path } }
  end
  client_id = vim.lsp.start_client({
    name = 'teskpf',
    cmd = options.cmd or { 'teskpf', 'lsp' },
    root_dir = vim.loop.cwd(),
    init_options = init_options,
  })
  return client_id
end

function M.setup(options)
  options = options or {}
  local group = vim.api.nvim_create_augroup('teskpf', { clear = true })
  -- An autocommand rather than vim.filetype.add, which Neovim 0.7 only
  -- honours with its Lua file-type detection switched on.
  vim.api.nvim_create_autocmd({ 'BufRead', 'BufNewFile' }, {
    group = group,
    pattern = '*.pf',
    command = 'setfiletype teskpf',
  })
  vim.api.nvim_create_autocmd('FileType', {
    group = group,
    pattern = 'teskpf',
    callback = function(event)
      local id = start(options)
      if id then
        vim.lsp.buf_attach_client(event.buf, id)
        vim.bo[event.buf].omnifunc = 'v:lua.vim.lsp.omnifunc'
      end
    end,
  })
end

return M
