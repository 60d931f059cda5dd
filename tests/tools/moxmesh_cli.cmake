# CTest cases that run the built moxmesh: on small files generated here (in the build tree) and on the
# sample models of assimp-testmodels (skipped when it is not installed). Every case checks the exit
# status and the messages, and that no output file and no staged file is left behind by a failure.

set(lInputs ${CMAKE_CURRENT_BINARY_DIR}/cli-inputs)
file(MAKE_DIRECTORY ${lInputs})
file(WRITE ${lInputs}/quad_tri.obj
  "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 2 0 0.5\nvt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n"
  "f 1/1 2/2 3/3 4/4\nf 2/2 5/3 3/4\n")
file(WRITE ${lInputs}/bad_index.obj "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 9\n")
file(WRITE ${lInputs}/zero_index.obj "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 0 1 2\n")
file(WRITE ${lInputs}/points.obj "v 0 0 0\nv 1 0 0\np 1 2\n")
file(WRITE ${lInputs}/notes.txt "not a mesh\n")
file(MAKE_DIRECTORY ${lInputs}/directory.obj)
file(WRITE ${lInputs}/broken.ply "ply\nformat ascii 1.0\nelement vertex 3\nend_header\n0 0\n")

set(lModels ${MOXSDK_ASSIMP_MODELS})

# mox_cli_test(name STATUS s ARGS a... [STDOUT re] [STDERR re] [STDERR_LINES n] [PRESENT f...] [ABSENT f...]
#              [NEEDS f]): one run of moxmesh in its own directory, build/tests/tools/cli/<name>; relative
# paths in ARGS, PRESENT and ABSENT are inside it.
function(mox_cli_test pName)
  cmake_parse_arguments(PARSE_ARGV 1 lCase "" "STATUS;STDOUT;STDERR;STDERR_LINES;NEEDS" "ARGS;PRESENT;ABSENT")
  set(lWork ${CMAKE_CURRENT_BINARY_DIR}/cli/${pName})
  set(lDefinitions -DMOXMESH=$<TARGET_FILE:moxmesh> -DWORKDIR=${lWork} -DSTATUS=${lCase_STATUS})
  string(REPLACE ";" "|" lArgs "${lCase_ARGS}")
  list(APPEND lDefinitions "-DARGS=${lArgs}")
  foreach(lKind STDOUT STDERR STDERR_LINES NEEDS)
    if(DEFINED lCase_${lKind})
      list(APPEND lDefinitions "-D${lKind}=${lCase_${lKind}}")
    endif()
  endforeach()
  foreach(lKind PRESENT ABSENT)
    set(lFiles)
    foreach(lFile IN LISTS lCase_${lKind})
      if(NOT IS_ABSOLUTE ${lFile})
        set(lFile ${lWork}/${lFile})
      endif()
      list(APPEND lFiles ${lFile})
    endforeach()
    string(REPLACE ";" "|" lFiles "${lFiles}")
    list(APPEND lDefinitions "-D${lKind}=${lFiles}")
  endforeach()
  add_test(NAME moxmesh_cli_${pName}
    COMMAND ${CMAKE_COMMAND} ${lDefinitions} -P ${CMAKE_CURRENT_SOURCE_DIR}/run_moxmesh.cmake)
  set_tests_properties(moxmesh_cli_${pName} PROPERTIES SKIP_REGULAR_EXPRESSION "SKIPPED:" TIMEOUT 600)
endfunction()

# The commands.
mox_cli_test(help STATUS 0 ARGS --help STDOUT "Usage: moxmesh.*demo.*info.*process")
mox_cli_test(no_command STATUS 2 ARGS "" STDERR "A subcommand is required")
mox_cli_test(demo STATUS 0 ARGS demo
  STDOUT "build model.*RemoveBadPolygons.*removed 1 bad polygon.*BuildMeshEdgeArray.*smoothing by angle <= 30 deg.*\
GenerateNormals.*GenerateTangentsDataForAllUVSets.*SplitPoints.*BuildMergeList \\+ MergePoints.*\
ComputeComponentMaps.*total"
  STDERR "^$")
mox_cli_test(demo_progress STATUS 0 ARGS demo --segments 8 --rings 2 --progress
  STDERR "moxmesh: \\[1/9\\] build model \\.\\.\\..*moxmesh: \\[9/9\\] ComputeComponentMaps done in ")
mox_cli_test(demo_large_progress_quiet STATUS 0 ARGS demo --segments 400 --rings 300 --quiet STDERR "^$")
mox_cli_test(info_quad_tri STATUS 0 ARGS info ${lInputs}/quad_tri.obj
  STDOUT "polygons +2 \\(1 triangle, 1 quad\\).*edges +6\n.*boundary edges +5\n")
mox_cli_test(process_obj STATUS 0
  ARGS process ${lInputs}/quad_tri.obj -o out.obj --smooth-angle 40 --tangents --split
  STDOUT "write .*OBJ: 2 polygons" PRESENT out.obj out.mtl)
mox_cli_test(process_gltf STATUS 0 ARGS process ${lInputs}/quad_tri.obj -o out.gltf --normals polygon-vertex --tangents
  STDOUT "glTF: 2 polygons as 3 triangles" PRESENT out.gltf out.bin)

# Bad input: one line naming the file and the problem, exit status 1, nothing written.
mox_cli_test(missing_input STATUS 1 ARGS process missing.obj -o out.obj
  STDERR "^moxmesh: error: missing.obj: cannot read: No such file or directory\n$" ABSENT out.obj)
mox_cli_test(directory_input STATUS 1 ARGS info ${lInputs} STDERR "cannot read: is a directory" STDERR_LINES 1)
mox_cli_test(unknown_format STATUS 1 ARGS process ${lInputs}/notes.txt -o out.obj
  STDERR "notes.txt: unknown format \"\\.txt\"" STDERR_LINES 1 ABSENT out.obj)
mox_cli_test(index_out_of_range STATUS 1 ARGS process ${lInputs}/bad_index.obj -o out.glb
  STDERR "bad_index.obj: index out of range: polygon 1 uses vertex 9, but there are 3 vertices\n$" STDERR_LINES 1
  ABSENT out.glb)
mox_cli_test(malformed_obj STATUS 1 ARGS info ${lInputs}/zero_index.obj
  STDERR "zero_index.obj: malformed OBJ file: " STDERR_LINES 1)
mox_cli_test(malformed_ply STATUS 1 ARGS process ${lInputs}/broken.ply -o out.obj
  STDERR "broken.ply: malformed PLY file: " STDERR_LINES 1 ABSENT out.obj out.mtl)
mox_cli_test(no_polygons STATUS 1 ARGS info ${lInputs}/points.obj STDERR "points.obj: no polygons" STDERR_LINES 1)
mox_cli_test(unwritable_output STATUS 1 ARGS process ${lInputs}/quad_tri.obj -o missing/out.obj
  STDERR "^moxmesh: error: missing/out.obj: cannot write: directory missing: No such file or directory\n$")
mox_cli_test(unknown_output_format STATUS 1 ARGS process ${lInputs}/quad_tri.obj -o out.xyz
  STDERR "out.xyz: unknown output format \"\\.xyz\": moxmesh writes \\.obj, \\.gltf and \\.glb\n$" ABSENT out.xyz)
mox_cli_test(output_without_extension STATUS 1 ARGS process ${lInputs}/quad_tri.obj -o out
  STDERR "out: unknown output format \\(no extension\\)" STDERR_LINES 1)
mox_cli_test(output_is_dot STATUS 1 ARGS process ${lInputs}/quad_tri.obj -o .
  STDERR "^moxmesh: error: \\.: cannot write: is a directory\n$")
mox_cli_test(output_is_directory STATUS 1 ARGS process ${lInputs}/quad_tri.obj -o ${lInputs}/directory.obj
  STDERR "directory.obj: cannot write: is a directory\n$" STDERR_LINES 1)

# The sample models.
mox_cli_test(sample_info_spider STATUS 0 ARGS info ${lModels}/OBJ/spider.obj NEEDS ${lModels}/OBJ/spider.obj
  STDOUT "control points +762\npolygons +1368 \\(1368 triangles\\)\npolygon vertices +4104\n")
mox_cli_test(sample_process_spider STATUS 0 NEEDS ${lModels}/OBJ/spider.obj
  ARGS process ${lModels}/OBJ/spider.obj -o spider.glb --smooth-angle 40 --tangents
  STDOUT "glTF binary: 1368 polygons as 1368 triangles" PRESENT spider.glb)
mox_cli_test(sample_process_wuson STATUS 0 NEEDS ${lModels}/OBJ/WusonOBJ.obj
  ARGS process ${lModels}/OBJ/WusonOBJ.obj -o wuson.gltf --clean --normals polygon-vertex --split
  PRESENT wuson.gltf wuson.bin)
mox_cli_test(sample_process_cube_uv STATUS 0 NEEDS ${lModels}/PLY/cube_uv.ply
  ARGS process ${lModels}/PLY/cube_uv.ply -o cube.obj --smooth-angle 30 --tangents
  STDOUT "0 soft edges, 12 hard edges" PRESENT cube.obj cube.mtl)
mox_cli_test(sample_process_off STATUS 0 NEEDS ${lModels}/OFF/Cube.off
  ARGS process ${lModels}/OFF/Cube.off -o cube.gltf --normals control-point
  STDOUT "OFF \\(Assimp\\): 8 control points, 6 polygons \\(6 quads\\).*8 normals by control point"
  PRESENT cube.gltf cube.bin)
mox_cli_test(sample_process_gltf STATUS 0 NEEDS ${lModels}/glTF2/BoxTextured-glTF/BoxTextured.gltf
  ARGS process ${lModels}/glTF2/BoxTextured-glTF/BoxTextured.gltf -o box.glb --tangents --split
  STDOUT "kept the file's normals.*control points 8 -> 36" PRESENT box.glb)
mox_cli_test(sample_info_spider_stl STATUS 0 ARGS info ${lModels}/STL/Spider_binary.stl
  NEEDS ${lModels}/STL/Spider_binary.stl STDOUT "format +STL \\(Assimp\\)\ncontrol points +722\n")
mox_cli_test(sample_malformed2 STATUS 0 ARGS info ${lModels}/invalid/malformed2.obj
  NEEDS ${lModels}/invalid/malformed2.obj STDERR "note: .*DefaultDoesNotExist")
set(lOversized OutOfMemory.off)
if(MOXSDK_SANITIZE)
  set(lOversized)  # see tests/tools/CMakeLists.txt
endif()
foreach(lInvalid ${lOversized} empty.3ds empty.ase empty.lwo empty.md5mesh empty.obj empty.off empty.ply empty.raw
                 empty.smd empty.x emptyIrrMesh.xml malformed.obj readme.txt)
  string(MAKE_C_IDENTIFIER ${lInvalid} lName)
  mox_cli_test(sample_invalid_${lName} STATUS 1 NEEDS ${lModels}/invalid/${lInvalid}
    ARGS process ${lModels}/invalid/${lInvalid} -o out.glb
    STDERR "^moxmesh: error: ${lModels}/invalid/${lInvalid}: " STDERR_LINES 1 ABSENT out.glb)
endforeach()

# The Khronos glTF-Validator over every glTF and glb the tool writes from the sample models (skipped
# when scripts/test.sh could not install the validator into the build tree's gltf-validator directory).
set(MOXSDK_GLTF_VALIDATOR_DIR ${CMAKE_BINARY_DIR}/gltf-validator CACHE PATH
  "Where scripts/test.sh installs the npm package gltf-validator")
add_test(NAME moxmesh_gltf_validator_sweep
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/validator/sweep.sh $<TARGET_FILE:moxmesh> ${lModels}
    ${MOXSDK_GLTF_VALIDATOR_DIR} ${CMAKE_CURRENT_BINARY_DIR}/validator-sweep)
set_tests_properties(moxmesh_gltf_validator_sweep PROPERTIES SKIP_REGULAR_EXPRESSION "SKIPPED:" TIMEOUT 1200)

# batch: every mesh file of the inputs, each in its own process; the broken ones fail alone.
mox_cli_test(batch_directory STATUS 1 ARGS batch ${lInputs} -o out --jobs 2 --report-json lines.jsonl
  STDOUT "\"input\":\"[^\"]*quad_tri.obj\",[^\n]*\"status\":\"ok\".*\"summary\":{\"failed\":[1-9][0-9]*,\"files\":[0-9]+,\"ok\":1,"
  PRESENT out/quad_tri_obj.obj out/.moxmesh-batch.jsonl lines.jsonl)
file(WRITE ${lInputs}/batch_models.txt "${lModels}/OBJ/spider.obj\n${lModels}/PLY/cube.ply\n${lModels}/STL/Spider_ascii.stl\n")
mox_cli_test(batch_list_on_models STATUS 0 NEEDS ${lModels}/OBJ/spider.obj
  ARGS batch --from-list ${lInputs}/batch_models.txt -o out --format glb --tangents
  STDOUT "\"summary\":{\"failed\":0,\"files\":3,\"ok\":3,\"seconds\":[0-9.e-]+,\"skipped\":0}}"
  PRESENT out/OBJ/spider_obj.glb out/PLY/cube_ply.glb out/STL/Spider_ascii_stl.glb)
mox_cli_test(batch_without_inputs STATUS 2 ARGS batch -o out STDERR "batch: give a directory or --from-list FILE")
mox_cli_test(batch_both_inputs STATUS 2 ARGS batch ${lInputs} --from-list list.txt -o out STDERR "excludes")
