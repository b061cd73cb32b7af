# Makes the Debian packages of the build in BUILD_DIR, and runs the program out of one.
function(run)
  execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${WORK_DIR} RESULT_VARIABLE result
                  OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN} failed:\n${out}")
  endif()
  set(out "${out}" PARENT_SCOPE)
endfunction()

function(expect text)
  if(NOT out MATCHES "${text}")
    message(FATAL_ERROR "Expected \"${text}\" in:\n${out}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
run(${CPACK} -G DEB -B ${WORK_DIR} --config ${BUILD_DIR}/CPackConfig.cmake)
file(GLOB runtime ${WORK_DIR}/tessitone_*.deb)
file(GLOB dev ${WORK_DIR}/libtessitone-dev_*.deb)

run(dpkg-deb --info ${runtime})
expect("Package: tessitone\n")
expect("Depends: [^\n]*libc6")
expect("libsndfile1")
run(dpkg-deb --contents ${runtime})
foreach(path IN ITEMS bin/tessitone lib/tessitone/baplug.so share/man/man1/tessitone.1
        share/bash-completion/completions/tessitone share/doc/tessitone/copyright)
  expect("root/root [^\n]* ./usr/${path}\n")
endforeach()
run(dpkg-deb --contents ${dev})
expect("./usr/lib/cmake/Tessitone/TessitoneConfig.cmake")
expect("./usr/include/tessitone/host/Bundle.h")

run(dpkg-deb --extract ${runtime} ${WORK_DIR}/root)
run(${WORK_DIR}/root/usr/bin/tessitone plugins)
expect("TessitoneAudioTape")
file(REMOVE_RECURSE ${WORK_DIR})
