-- A headless Neovim session against `teskpf lsp`, with the set-up of
-- editors/neovim installed as docs/editors.md says (run_session.py does
-- that): opens the site layer of a layered name, prints the
-- diagnostics it receives, the hover on a key, the definition that key
-- overrides and the words completed in a value, then quits. Exit status 0
-- when every step got an answer.
local site_file = os.getenv('TESKPF_SESSION_FILE')

local function say(text)
  io.stdout:write(text .. '\n')
end

local function fail(text)
  say('FAILED: ' .. text)
  vim.cmd('cquit 1')
end

vim.cmd('edit ' .. vim.fn.fnameescape(site_file))

-- Diagnostics arrive once the server has checked the file as a layer.
if not vim.wait(10000, function() return #vim.diagnostic.get(0) > 0 end, 20) then
  fail('no diagnostics within 10 s')
end
for _, d in ipairs(vim.diagnostic.get(0)) do
  say(string.format('diagnostic %d:%d %s [%s] %s', d.lnum + 1, d.col + 1,
    vim.diagnostic.severity[d.severity], d.code or (d.user_data and d.user_data.lsp and d.user_data.lsp.code) or '',
    d.message))
end

local function request(method, line, character, extra)
  local params = {
    textDocument = { uri = vim.uri_from_bufnr(0) },
    position = { line = line, character = character },
  }
  for key, value in pairs(extra or {}) do
    params[key] = value
  end
  local answers = vim.lsp.buf_request_sync(0, method, params, 5000)
  for _, answer in pairs(answers or {}) do
    if answer.error then
      fail(method .. ': ' .. vim.inspect(answer.error))
    end
    return answer.result
  end
  fail(method .. ': no answer within 5 s')
end

-- Line 5 of the site layer is "\tport\t18001".
local hover = request('textDocument/hover', 4, 2)
if not hover or not hover.contents then
  fail('no hover')
end
local text = type(hover.contents) == 'table' and (hover.contents.value or hover.contents[1]) or hover.contents
say('hover:')
for line in tostring(text):gmatch('[^\n]+') do
  say('  ' .. line)
end

local definition = request('textDocument/definition', 4, 2)
if definition and definition.uri then
  definition = { definition }
end
if not definition or #definition == 0 then
  fail('no definition')
end
for _, location in ipairs(definition) do
  local uri = location.uri or location.targetUri
  local range = location.range or location.targetSelectionRange
  say(string.format('definition: %s:%d', vim.uri_to_fname(uri), range.start.line + 1))
end

-- Line 2 is "status\tretierd": complete the value.
local completion = request('textDocument/completion', 1, 7)
local items = completion and (completion.items or completion) or {}
local words = {}
for _, item in ipairs(items) do
  table.insert(words, item.label)
end
table.sort(words)
if #words == 0 then
  fail('no completion')
end
say('completion: ' .. table.concat(words, ' '))
vim.cmd('qall!')
