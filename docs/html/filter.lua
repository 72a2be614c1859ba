-- Prepares the reference for its page: takes the title and the introduction out of the text, makes the
-- indexes, links the functions' names, and gives tables a box to scroll in.
local stringify = pandoc.utils.stringify

local function escape(text)
  return (text:gsub('&', '&amp;'):gsub('<', '&lt;'):gsub('>', '&gt;'))
end

local function entry(heading)
  return { name = stringify(heading), id = heading.identifier }
end

-- By the letters of the name: "_yDecode..." stands under Y.
local function sort_key(one)
  return one.name:lower():gsub('^_', '')
end

function CodeBlock(block)
  if not block.classes:includes('console') then return nil end
  local lines = {}
  for line in (block.text .. '\n'):gmatch('(.-)\n') do
    local text = escape(line)
    table.insert(lines, line:match('^%$ ') and '<b>' .. text .. '</b>' or text)
  end
  local code = table.concat(lines, '\n')
  return pandoc.RawBlock('html', '<pre class="console"><code>' .. code .. '</code></pre>')
end

function Table(block)
  return { pandoc.RawBlock('html', '<div class="wide">'), block, pandoc.RawBlock('html', '</div>') }
end

-- The first paragraph behind a function's heading tells what it does.
function Pandoc(doc)
  local introduction, body, groups, alphabet, wanting = pandoc.List(), pandoc.List(), {}, {}, nil
  for _, block in ipairs(doc.blocks) do
    local level = block.t == 'Header' and block.level or nil
    if level == 1 then
      doc.meta.title = block.content
    elseif #groups == 0 and level ~= 2 then
      introduction:insert(block)
    else
      if level == 2 then
        table.insert(groups, entry(block))
        groups[#groups].functions = {}
      elseif level == 3 then
        wanting = entry(block)
        table.insert(groups[#groups].functions, wanting)
        table.insert(alphabet, wanting)
        block.content = { pandoc.Link(block.content, '#' .. block.identifier) }
      elseif wanting and block.t == 'Para' then
        wanting.sentence = block.content
        wanting = nil
      end
      body:insert(block)
    end
  end
  local ids = {}
  for _, one in ipairs(alphabet) do ids[one.name] = one.id end
  local function link(text)
    local name, rest = text.text:match('^([%w_]+)(.*)$')
    if ids[name] then return { pandoc.Link(name, '#' .. ids[name]), pandoc.Str(rest) } end
  end
  for i, block in ipairs(body) do
    if block.t ~= 'Header' then body[i] = pandoc.walk_block(block, { Str = link }) end
  end
  table.sort(alphabet, function(a, b) return sort_key(a) < sort_key(b) end)
  doc.meta.introduction = pandoc.MetaBlocks(introduction)
  doc.meta.count = tostring(#alphabet)
  doc.meta.groups = groups
  doc.meta.alphabet = alphabet
  doc.blocks = body
  return doc
end
