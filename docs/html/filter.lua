-- Prepares the reference for its page: separates the title and the introduction, makes the indexes, links the
-- names of functions, and wraps tables in boxes that scroll.
local stringify = pandoc.utils.stringify

local function escape(text)
  return (text:gsub('&', '&amp;'):gsub('<', '&lt;'):gsub('>', '&gt;'))
end

local function entry(heading)
  return { name = stringify(heading), id = heading.identifier }
end

-- By the letters of the name: "_yDecode..." is sorted under Y.
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

-- The groups with their functions. The first paragraph after a function's heading describes it.
local function outline(blocks)
  local groups, wanting = {}, nil
  for _, block in ipairs(blocks) do
    if block.t == 'Header' and block.level == 2 then
      table.insert(groups, entry(block))
      groups[#groups].functions = {}
    elseif block.t == 'Header' then
      wanting = entry(block)
      table.insert(groups[#groups].functions, wanting)
    elseif wanting and block.t == 'Para' then
      wanting.sentence = block.content
      wanting = nil
    end
  end
  return groups
end

local function by_letters(groups)
  local functions = {}
  for _, group in ipairs(groups) do
    for _, one in ipairs(group.functions) do table.insert(functions, one) end
  end
  table.sort(functions, function(a, b) return sort_key(a) < sort_key(b) end)
  return functions
end

-- Links each heading of a function with itself, so that its address can be copied, and each name in a text
-- with its function.
local function linked(blocks, functions)
  local ids = {}
  for _, one in ipairs(functions) do ids[one.name] = one.id end
  local function link(text)
    local name, rest = text.text:match('^([%w_]+)(.*)$')
    if ids[name] then return { pandoc.Link(name, '#' .. ids[name]), pandoc.Str(rest) } end
  end
  return blocks:map(function(block)
    if block.t == 'Header' and block.level == 2 then return block end
    return pandoc.walk_block(block, { Str = link })
  end)
end

function Pandoc(doc)
  local _, begin = doc.blocks:find_if(function(block) return block.t == 'Header' and block.level == 2 end)
  local body = pandoc.List(table.move(doc.blocks, begin, #doc.blocks, 1, {}))
  local groups = outline(body)
  local functions = by_letters(groups)
  doc.meta.title = doc.blocks[1].content
  doc.meta.introduction = pandoc.MetaBlocks(table.move(doc.blocks, 2, begin - 1, 1, {}))
  doc.meta.count = tostring(#functions)
  doc.meta.groups = groups
  doc.meta.alphabet = functions
  doc.blocks = linked(body, functions)
  return doc
end
