-- Gives the columns of a wide table widths, so that the plain form breaks the lines of its cells: a column is at least
-- as wide as its longest word, and what is left goes to the columns that have the most text. Code may be broken at its
-- blanks too.
local WIDTH = 100

function Code(code)
  local words = pandoc.List()
  for word in code.text:gmatch("%S+") do
    if #words > 0 then words:insert(pandoc.Space()) end
    words:insert(pandoc.Str(word))
  end
  return words
end

local function lengths(text)
  local word = 0
  for each in text:gmatch("%S+") do word = math.max(word, utf8.len(each) or #each) end
  return utf8.len(text) or #text, word
end

local function measure(table)
  local whole, word = {}, {}
  local function row(each)
    for column, cell in ipairs(each.cells) do
      local length, longest = lengths(pandoc.utils.stringify(cell.contents))
      whole[column] = math.max(whole[column] or 0, length)
      word[column] = math.max(word[column] or 0, longest)
    end
  end
  for _, each in ipairs(table.head.rows) do row(each) end
  for _, body in ipairs(table.bodies) do
    for _, each in ipairs(body.body) do row(each) end
  end
  return whole, word
end

function Table(table)
  local whole, word = measure(table)
  local total, rest, wanted = 0, WIDTH - 2, 0
  for column in ipairs(whole) do
    total = total + whole[column] + 2
    rest = rest - word[column] - 2
    wanted = wanted + whole[column] - word[column]
  end
  if total <= WIDTH or rest < 0 then return nil end
  for column, spec in ipairs(table.colspecs) do
    local more = (whole[column] - word[column]) * rest // wanted
    spec[2] = (word[column] + more + 1.5) / WIDTH
    table.colspecs[column] = spec
  end
  return table
end
