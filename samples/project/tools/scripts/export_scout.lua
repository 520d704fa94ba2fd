-- The scout's whole way from the exporter to the game: the intermediate files the exporter wrote
-- (reference, walk, idle) put into the project's intermediate folder, merged into one model in the
-- generic folder (with the pattern and shared shader of its shared texture), opened in revision
-- control, and burned into the final data.
--
--   tq7z run tools/scripts/export_scout.lua EXPORT_FOLDER
--
-- EXPORT_FOLDER holds what the exporter wrote: reference/ref.sgm, walk.sgm and idle.sgm.

local exported = arg[1]
if exported == nil then
  error("usage: tq7z run export_scout.lua EXPORT_FOLDER")
end

-- The project is two folders above this script.
local project = (arg[0]:match("^(.*)[/\\][^/\\]*$") or ".") .. "/../.."
local scenes = project .. "/art/source/units/scout/"

-- Paths come back from the commands with '\' between folders; the disk wants '/'.
local function native(path)
  return (path:gsub("\\", "/"))
end

local function withExtension(path, extension)
  return (path:gsub("%.[^./\\]*$", "") .. extension)
end

local function copy(from, to)
  local input = assert(io.open(from, "rb"))
  local bytes = input:read("a")
  input:close()
  local folder = to:match("^(.*)/[^/]*$")
  assert(os.execute('mkdir -p "' .. folder .. '"'), "cannot make " .. folder)
  local output = assert(io.open(to, "wb"))
  output:write(bytes)
  output:close()
end

local function check(done, what)
  if not done then
    error(what .. " failed (see above)", 2)
  end
end

-- 1. The exported files into the intermediate folder, each where its scene's data goes.
local intermediate = {}
for _, scene in ipairs({ "reference/ref", "walk", "idle" }) do
  local target = tq7z_pipeline_sourcetointermediate(scenes .. scene .. ".json")
  check(target ~= nil, "finding the intermediate file of " .. scene)
  target = withExtension(native(target), ".sgm")
  copy(exported .. "/" .. scene .. ".sgm", target)
  intermediate[scene] = target
  print("intermediate: " .. target)
end

-- 2. The merged file, named after the unit, opened in revision control before it is written.
local merged = tq7z_pipeline_sourcetogeneric(scenes .. "scout.sgm")
check(merged ~= nil, "finding the generic file of the scout")
merged = native(merged)
check(tq7z_p4_openoradd(merged), "opening " .. merged)

-- 3. Ani-merge: the model and both animations; the pattern and shader of its shared texture.
tq7z_animergeFlags(true, true)
check(tq7z_animerge(merged, intermediate["reference/ref"], { intermediate["walk"], intermediate["idle"] }),
  "merging the scout")
print("merged: " .. merged)

-- 4. The burn into the final data.
check(tq7z_burner(merged), "burning " .. merged)
local final = withExtension(native(tq7z_pipeline_sourcetofinal(scenes .. "scout.sgm")), ".tqm")
local file = io.open(final, "rb")
check(file ~= nil, "finding the final model " .. final)
file:close()
print("final: " .. final)
