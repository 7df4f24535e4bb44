-- A document's links as they are in a package: to a document that goes along, in the package's form; to another
-- file of the tree, none but the text; to a place in the document or on the net, as they are.
--
-- Read from the metadata: "packaged", the names of what goes along; "ending", that of the guides in this form.
local packaged, ending = {}, ""

local function read_names(meta)
  for name in pandoc.utils.stringify(meta.packaged):gmatch("%S+") do packaged[name] = true end
  ending = pandoc.utils.stringify(meta.ending)
  meta.packaged, meta.ending = nil, nil
  return meta
end

local function as_packaged(link)
  local file = link.target:match("([^/]+)$") or ""
  if link.target:match("^#") or link.target:match("^%a+:") then return nil end
  if not packaged[file] then return link.content end
  local name = file:gsub("%.md$", ending)
  if pandoc.utils.stringify(link.content) == file then link.content = {pandoc.Str(name)} end
  link.target = name
  return link
end

return {{Meta = read_names}, {Link = as_packaged}}
