#!/usr/bin/env bash
# Builds the tq7z program and runs the main job on the sample data that ships with the project.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTQ7Z_BUILD_TESTS=OFF > /dev/null
cmake --build build -j2 --target tq7z
tq7z=build/bin/tq7z
out=build/sample-out
mkdir -p "$out"
echo "== pipeline.ini of the sample project" >&2
"$tq7z" pipeline info samples/project
"$tq7z" pipeline source-to generic samples/project/art/source/units/tank/tank.max
echo "== the sample images" >&2
for f in samples/images/walker_diffuse.tga samples/images/walker_normal.dds samples/images/walker_team.bmp; do
  "$tq7z" image info "$f"
done
"$tq7z" image convert samples/images/walker_diffuse.tga "$out/walker_diffuse.img" --mips
"$tq7z" chunks "$out/walker_diffuse.img"
echo "== a Lua configuration file, written back in the system's text form" >&2
"$tq7z" lua dump samples/lua/unit.lua --sorted --pretty
echo "== the sample chunk file" >&2
"$tq7z" chunks samples/chunks/walker.chunky
echo "== the sample model file" >&2
"$tq7z" model info samples/models/walker.sgm
echo "== the scout's scenes exported: the reference file's meshes, then walk and idle's animation" >&2
scout=samples/project/art/source/units/scout
export_out="$out/export/scout"
rm -rf "$export_out"
"$tq7z" export "$scout/reference/ref.json" "$export_out/reference/ref.sgm" --suppress-prompts
"$tq7z" export "$scout/walk.json" "$export_out/walk.sgm" --suppress-prompts
"$tq7z" export "$scout/idle.json" "$export_out/idle.sgm" --suppress-prompts
"$tq7z" model info "$export_out/reference/ref.sgm"
echo "== the scout's walk scene exported whole (meshes and animation keys, as the options dialog's defaults)" >&2
"$tq7z" export "$scout/walk.json" "$export_out/whole/walk.sgm"
"$tq7z" model info "$export_out/whole/walk.sgm"
echo "== the scout's walk model in the final form (DXT1 textures), and compared with the model it came from" >&2
"$tq7z" model convert "$export_out/whole/walk.sgm" "$export_out/whole/walk.tqm" --dxt 1
"$tq7z" model info "$export_out/whole/walk.tqm"
# DXT1 keeps one bit of alpha, so the scout's alpha-blended shaders load alpha-tested: the diff
# names them and exits 1. With DXT5 the alpha stays and the two hold the same model.
"$tq7z" model diff "$export_out/whole/walk.sgm" "$export_out/whole/walk.tqm" --ignore-textures || true
echo "== the same in DXT5, which must hold the same model as its source" >&2
"$tq7z" model convert "$export_out/whole/walk.sgm" "$export_out/whole/walk_dxt5.tqm" --dxt 5
"$tq7z" model diff "$export_out/whole/walk.sgm" "$export_out/whole/walk_dxt5.tqm"
echo "== the burn configuration of a sample file, merged from the .burn files above it (then a folder's, as JSON)" >&2
"$tq7z" burn config samples/project/art/generic/units/tank/readme.txt
"$tq7z" burn config samples/project/art/generic/units --json
echo "== the sample project's artist script on a working copy: the scout's exported files merged (with its shared texture's pattern and shader), opened in revision control and burned" >&2
cmake --build build -j2 --target BurnerImp
burn_project="$out/project"
rm -rf "$burn_project"
cp -r samples/project "$burn_project"
# The copy's burner is the one just built; the file's lines end in CR LF.
bin_folder="$(cd build/bin && pwd)"
sed -i "s|^burnerPath=[^\r]*|burnerPath=$bin_folder|" "$burn_project/pipeline.ini"
"$tq7z" run "$burn_project/tools/scripts/export_scout.lua" "$export_out"
generic_scout="$burn_project/art/generic/units/scout"
final_scout="$burn_project/art/final/units/scout/scout.tqm"
# units/_default.burn leaves out the top texture level of its models (mips_to_skip 1), so only
# the textures' sizes differ from the source.
"$tq7z" model diff "$generic_scout/scout.sgm" "$final_scout" --ignore-textures
echo "== the scout given all its texture levels by a .burn of its own: it alone burns again, and holds its source's model" >&2
"$tq7z" burn set "$generic_scout/scout.sgm" models final mips_to_skip 0
"$tq7z" burn "$burn_project/art/generic"
"$tq7z" model diff "$generic_scout/scout.sgm" "$final_scout"
echo "== the same burn again: every file up to date" >&2
"$tq7z" burn "$burn_project/art/generic"
echo "== the final model of the scout: merged from its exported files and burned" >&2
"$tq7z" model info "$final_scout"
echo "== a glTF file written here (a strip skinned to two bones over three frames, a marker, a camera) as the import host sees it, and exported through it" >&2
import_out="$out/import"
rm -rf "$import_out"
mkdir -p "$import_out"
cat > "$import_out/strip.gltf" <<'GLTF'
{"asset":{"version":"2.0","generator":"hand"},"scene":0,"scenes":[{"nodes":[0,3,4]}],"nodes":[{"name":"Root","children":[1]},{"name":"Arm","translation":[0,1,0],"children":[2]},{"name":"Tip","translation":[0,1,0]},{"name":"Body","mesh":0,"skin":0,"extras":{"MeshMinDetail":"High"}},{"name":"Eye","camera":0,"translation":[0.5,1,4]}],"cameras":[{"type":"perspective","perspective":{"yfov":0.7,"aspectRatio":1.5,"znear":0.1,"zfar":50}}],"materials":[{"name":"Hide","pbrMetallicRoughness":{"baseColorFactor":[0.8,0.7,0.6,1]}}],"meshes":[{"name":"Body","primitives":[{"attributes":{"POSITION":0,"NORMAL":1,"JOINTS_0":2,"WEIGHTS_0":3},"indices":4,"material":0}]}],"skins":[{"joints":[0,1],"inverseBindMatrices":5}],"animations":[{"name":"Wave","samplers":[{"input":6,"output":7},{"input":6,"output":8}],"channels":[{"sampler":0,"target":{"node":0,"path":"translation"}},{"sampler":1,"target":{"node":1,"path":"rotation"}}]}],"buffers":[{"byteLength":536,"uri":"data:application/octet-stream;base64,AAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAgD8AAAAAAACAPwAAgD8AAAAAAAAAAAAAAEAAAAAAAACAPwAAAEAAAAAAAAAAAAAAAAAAAIA/AAAAAAAAAAAAAIA/AAAAAAAAAAAAAIA/AAAAAAAAAAAAAIA/AAAAAAAAAAAAAIA/AAAAAAAAAAAAAIA/AAAAAAAAAAAAAAAAAAAAAAAAAQAAAAAAAAABAAAAAAABAAAAAAAAAAEAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAgD8AAAAAAAAAAAAAAAAAAAA/AAAAPwAAAAAAAAAAAAAAPwAAAD8AAAAAAAAAAAAAgD8AAAAAAAAAAAAAAAAAAIA/AAAAAAAAAAAAAAAAAAABAAMAAAADAAIAAgADAAUAAgAFAAQAAACAPwAAAAAAAAAAAAAAAAAAAAAAAIA/AAAAAAAAAAAAAAAAAAAAAAAAgD8AAAAAAAAAAAAAAAAAAAAAAACAPwAAgD8AAAAAAAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAAAAAAIA/AAAAAAAAAAAAAIC/AAAAAAAAgD8AAAAAiYgIPYmIiD0AAAAAAAAAAAAAAAAAAAA/AAAAAAAAAAAAAIA/AAAAAAAAAAAAAAAAAAAAAAAAAAAAAIA/AAAAAO6DhD4AAAAA6kZ3PwAAAAAAAAA/AAAAANezXT8="}],"bufferViews":[{"buffer":0,"byteOffset":0,"byteLength":72},{"buffer":0,"byteOffset":72,"byteLength":72},{"buffer":0,"byteOffset":144,"byteLength":48},{"buffer":0,"byteOffset":192,"byteLength":96},{"buffer":0,"byteOffset":288,"byteLength":24},{"buffer":0,"byteOffset":312,"byteLength":128},{"buffer":0,"byteOffset":440,"byteLength":12},{"buffer":0,"byteOffset":452,"byteLength":36},{"buffer":0,"byteOffset":488,"byteLength":48}],"accessors":[{"bufferView":0,"componentType":5126,"count":6,"type":"VEC3","min":[0,0,0],"max":[1,2,0]},{"bufferView":1,"componentType":5126,"count":6,"type":"VEC3"},{"bufferView":2,"componentType":5123,"count":6,"type":"VEC4"},{"bufferView":3,"componentType":5126,"count":6,"type":"VEC4"},{"bufferView":4,"componentType":5123,"count":12,"type":"SCALAR"},{"bufferView":5,"componentType":5126,"count":2,"type":"MAT4"},{"bufferView":6,"componentType":5126,"count":3,"type":"SCALAR","min":[0],"max":[0.06666666666666667]},{"bufferView":7,"componentType":5126,"count":3,"type":"VEC3"},{"bufferView":8,"componentType":5126,"count":3,"type":"VEC4"}]}
GLTF
"$tq7z" scene convert "$import_out/strip.gltf" "$import_out/strip.json"
"$tq7z" export "$import_out/strip.gltf" "$import_out/strip.sgm"
"$tq7z" model info "$import_out/strip.sgm"
echo "== the final scout written as glTF 2.0 for a viewer (a .glb: meshes, skeleton and skin, PNG textures, both animations)" >&2
mkdir -p "$out/gltf"
"$tq7z" model export-gltf "$final_scout" "$out/gltf/scout.glb"
