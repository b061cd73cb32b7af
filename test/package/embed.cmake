# Installs the build in BUILD_DIR below WORK_DIR, builds and runs examples/embed of SOURCE_DIR
# against it, and takes the installation away again. Component by component, which leaves the
# manifest of a real installation alone.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN} failed:\n${out}")
  endif()
  set(out "${out}" PARENT_SCOPE)
endfunction()

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
foreach(component IN ITEMS runtime dev)
  run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix} --component ${component})
endforeach()
foreach(path IN ITEMS bin/tessitone lib/tessitone/baplug.so share/man/man1/tessitone.1
        share/bash-completion/completions/tessitone share/zsh/site-functions/_tessitone
        share/fish/vendor_completions.d/tessitone.fish lib/libulkhost.a
        include/tessitone/ulk/sacc/SplCache.h include/tessitone/host/Bundle.h)
  if(NOT EXISTS ${prefix}/${path})
    message(FATAL_ERROR "${path} was not installed")
  endif()
endforeach()

run(${prefix}/bin/tessitone plugins)
if(NOT out MATCHES "TessitoneAudioTape")
  message(FATAL_ERROR "The installed program does not find its bundle:\n${out}")
endif()

if(EXISTS ${BUILD_DIR}/tessitone_devices.so)
  run(${prefix}/bin/tessitone devices)
  if(out MATCHES "no sound devices")
    message(FATAL_ERROR "The installed program does not find its module of devices:\n${out}")
  endif()
endif()

run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples/embed -B ${WORK_DIR}/embed -G Ninja
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${COMPILER})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/embed)
run(${WORK_DIR}/embed/embed ${RECORDING} ${WORK_DIR}/out.wav)
if(NOT out MATCHES "^68545 frames, peak -[0-9.]+ dBFS, -[0-9.]+ LUFS\n$")
  message(FATAL_ERROR "The embedding program said:\n${out}")
endif()

foreach(component IN ITEMS runtime dev)
  run(${CMAKE_COMMAND} -DMANIFEST=${BUILD_DIR}/install_manifest_${component}.txt
      -P ${SOURCE_DIR}/cmake/uninstall.cmake)
endforeach()
file(GLOB_RECURSE left LIST_DIRECTORIES false ${prefix}/*)
if(left OR EXISTS ${prefix}/include/tessitone OR EXISTS ${prefix}/lib/cmake/Tessitone)
  message(FATAL_ERROR "Uninstalling left ${left} behind")
endif()
file(REMOVE_RECURSE ${WORK_DIR})
