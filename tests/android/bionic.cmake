# The unit suite built for Android, to run on this machine through the bionic runtime of the
# shared sysroot (KESTO_BIONIC_HOSTRUN). The platform's system libraries there do nothing, so the
# engine goes in statically with a test log library that prints lines as the desktop's liblog does
# (the tests read them back from stderr). Suites that need GL stay on the desktop.
set(KESTO_BIONIC_HOSTRUN "" CACHE PATH "The bionic runtime's folder (with system/bin/linker64)")
if(NOT KESTO_BIONIC_HOSTRUN)
    message(STATUS "Android build: no bionic runtime given, the unit suite is not built")
    return()
endif()

set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)

add_library(kesto_test_log SHARED ${CMAKE_CURRENT_SOURCE_DIR}/android/TestLog.cpp)
set_target_properties(kesto_test_log PROPERTIES OUTPUT_NAME log
                      LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/testlog)

add_library(xolkesto2engine_bionic STATIC ${KESTO_SOURCES})
target_include_directories(xolkesto2engine_bionic PUBLIC ${PROJECT_SOURCE_DIR})
target_compile_options(xolkesto2engine_bionic PRIVATE -fno-exceptions)
target_link_libraries(xolkesto2engine_bionic PUBLIC kesto_test_log ${KESTO_EGL_LIBRARY}
                      ${KESTO_GLES2_LIBRARY} ${KESTO_PLATFORM_LIBRARIES} dl m)

file(GLOB unit_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/unit/*.cpp)
add_executable(kesto_unit_tests_bionic ${unit_sources} support/TestMain.cpp support/LogCapture.cpp
               support/LogMaskProbe.cpp support/Counters.cpp)
target_link_libraries(kesto_unit_tests_bionic PRIVATE xolkesto2engine_bionic GTest::gtest)
target_link_options(kesto_unit_tests_bionic PRIVATE
                    -Wl,--dynamic-linker=${KESTO_BIONIC_HOSTRUN}/system/bin/linker64)
