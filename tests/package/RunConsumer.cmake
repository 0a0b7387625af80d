# cmake -DBUILD_DIR=... -DWORK_DIR=... -DCONSUMER_DIR=... -DCXX_COMPILER=... -DQMAKE=...
#       -DOBJDUMP=... [-DCPACK=...] -P RunConsumer.cmake
# Installs the build, moves the installed tree, then builds hosts against the moved tree through
# the CMake package, pkg-config and qmake and runs them with no loader path. With CPACK it also
# makes the Debian packages, unpacks them into a scratch root and builds and runs a host there.
function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "failed (${result}): ${ARGN}")
    endif()
endfunction()

# Runs a host with no loader path, after checking that it needs only the support library: its
# sibling must then be found through the support library's own run path.
function(run_host program)
    execute_process(COMMAND "${OBJDUMP}" -p "${program}" OUTPUT_VARIABLE headers
                    RESULT_VARIABLE result)
    if(NOT result EQUAL 0 OR NOT headers MATCHES "NEEDED +liborvexsupport"
       OR headers MATCHES "NEEDED +liborvexcore")
        message(FATAL_ERROR "${program} should need liborvexsupport and not liborvexcore")
    endif()
    run("${CMAKE_COMMAND}" -E env --unset=LD_LIBRARY_PATH "${program}")
endfunction()

file(REMOVE_RECURSE "${WORK_DIR}")
run("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${WORK_DIR}/stage")
set(prefix "${WORK_DIR}/moved")
file(RENAME "${WORK_DIR}/stage" "${prefix}")

run("${CMAKE_COMMAND}" -S "${CONSUMER_DIR}/consumer" -B "${WORK_DIR}/build"
    "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}")
run("${CMAKE_COMMAND}" --build "${WORK_DIR}/build")
run("${CMAKE_COMMAND}" -E env --unset=LD_LIBRARY_PATH "${WORK_DIR}/build/consumer")
run_host("${WORK_DIR}/build/support_only")
run_host("${WORK_DIR}/build/support_only_pkgconfig")

file(GLOB pcFile "${prefix}/lib*/pkgconfig/orvexsupport.pc" "${prefix}/lib/*/pkgconfig/orvexsupport.pc")
get_filename_component(pcDir "${pcFile}" DIRECTORY)
file(MAKE_DIRECTORY "${WORK_DIR}/qmake")
# qmake builds with its own mkspec's compiler; a CXX in the environment confuses its probe.
execute_process(COMMAND "${CMAKE_COMMAND}" -E env --unset=CXX "PKG_CONFIG_PATH=${pcDir}"
                        "${QMAKE}" "${CONSUMER_DIR}/qmake/support_only.pro"
                WORKING_DIRECTORY "${WORK_DIR}/qmake" RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "qmake failed (${result})")
endif()
run(make -C "${WORK_DIR}/qmake" -s)
run_host("${WORK_DIR}/qmake/support_only")

if(NOT CPACK)
    return()
endif()
run("${CPACK}" -G DEB --config "${BUILD_DIR}/CPackConfig.cmake" -B "${WORK_DIR}/deb")
file(GLOB debs "${WORK_DIR}/deb/*.deb")
set(root "${WORK_DIR}/root")
foreach(deb IN LISTS debs)
    execute_process(COMMAND dpkg-deb -f "${deb}" Package Depends OUTPUT_VARIABLE fields)
    string(REPLACE "\n" " " fields "${fields}")
    message(STATUS "${fields}")
    if(fields MATCHES "Package: liborvexsupport0 ")
        set(runtimeOk TRUE)
        foreach(qt libqt5core5a libqt5network5 libqt5xml5)
            if(NOT fields MATCHES "${qt} \\(>= 5\\.")
                message(FATAL_ERROR "the runtime package should depend on ${qt}")
            endif()
        endforeach()
    elseif(fields MATCHES "Package: liborvexsupport-dev ")
        set(developmentOk TRUE)
        if(NOT fields MATCHES "liborvexsupport0 \\(= [0-9.]+(-[0-9]+)?\\)" OR NOT fields MATCHES "qtbase5-dev")
            message(FATAL_ERROR "the development package should depend on its runtime and qtbase5-dev")
        endif()
    endif()
    run(dpkg-deb -x "${deb}" "${root}")
endforeach()
if(NOT runtimeOk OR NOT developmentOk)
    message(FATAL_ERROR "expected liborvexsupport0 and liborvexsupport-dev, got: ${debs}")
endif()
run("${CMAKE_COMMAND}" -S "${CONSUMER_DIR}/consumer" -B "${WORK_DIR}/deb-build"
    "-DCMAKE_PREFIX_PATH=${root}/usr" "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}" -DORVEX_SUPPORT_ONLY=ON)
run("${CMAKE_COMMAND}" --build "${WORK_DIR}/deb-build")
run_host("${WORK_DIR}/deb-build/support_only")
