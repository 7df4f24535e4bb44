-- A document's links as they are in a package: to a document that goes along, in the package's form; to another
-- file of the tree, none but the text; to a place in the document or on the net, as they are.
local packaged = {}

local function read_names(meta)
  for name in pandoc.utils.stringify(meta.packaged):gmatch("%S+") do packaged[name] = true end
  meta.packaged = nil
  return meta
end

local function as_packaged(link)
  local file = link.target:match("([^/]+)$") or ""
  if link.target:match("^#") or link.target:match("^%a+:") then return nil end
  if not packaged[file] then return link.content end
  link.target = file:gsub("%.md$", ".html")
  return link
end

return {{Meta = read_names}, {Link = as_packaged}}
