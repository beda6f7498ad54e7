# Sanitizer runs, included by tests/CMakeLists.txt:
#   asan.unit.* / asan.gl.*  the unit and GL suites with the engine and the tests built under
#                            AddressSanitizer and UndefinedBehaviorSanitizer (LeakSanitizer on)
#   asan.jvm.*, fuzz.api     JVM runs on that engine: the allocation fault sweep, lost contexts,
#                            the showcase, the API fuzzer
#   lsan.jvm.*               JVM sessions with LeakSanitizer preloaded, failing on leaks that
#                            the engine or its host library allocated
option(KESTO_ASAN_TESTS "Also build the unit and GL tests under AddressSanitizer and UBSan" ON)
option(KESTO_LSAN_JVM_TESTS "Also run JVM sessions under LeakSanitizer" ON)

set(kesto_sanitizer_dir ${CMAKE_CURRENT_SOURCE_DIR}/sanitizers)

# gtest_discover_tests flattens list-valued PROPERTIES (LABELS "a;b" arrives as LABELS a, and
# the rest of the list is misread as further properties), so list values are set by a CTest
# script of our own, included after the discovered tests and reading the list of their names.
function(kesto_set_discovered_properties target)
    set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}_properties.cmake)
    set(assignments "")
    math(EXPR last "${ARGC} - 1")
    foreach(i RANGE 1 ${last} 2)
        math(EXPR j "${i} + 1")
        string(APPEND assignments " ${ARGV${i}} [==[${ARGV${j}}]==]")
    endforeach()
    file(WRITE ${script}
         "if(${target}_TESTS)\n"
         "  set_tests_properties(\${${target}_TESTS} PROPERTIES${assignments})\n"
         "endif()\n")
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${script})
endfunction()

# --- AddressSanitizer + UndefinedBehaviorSanitizer ----------------------------------------------
if(KESTO_ASAN_TESTS)
    set(asan_flags -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_library(xolkesto2engine_asan SHARED ${KESTO_SOURCES})
    target_include_directories(xolkesto2engine_asan PUBLIC ${PROJECT_SOURCE_DIR}
                               ${KESTO_LOG_INCLUDE_DIR} ${KESTO_JNI_INCLUDE_DIRS})
    target_link_libraries(xolkesto2engine_asan PUBLIC ${KESTO_LOG_LIBRARY} ${KESTO_EGL_LIBRARY}
                          ${KESTO_GLES2_LIBRARY} ${KESTO_PLATFORM_LIBRARIES} m)
    target_compile_options(xolkesto2engine_asan PRIVATE ${asan_flags} -fno-exceptions)
    target_link_options(xolkesto2engine_asan PUBLIC -fsanitize=address,undefined)

    # The shared test support, built once for both suites. GCC's -Wmaybe-uninitialized misfires
    # on <regex> internals once they are instrumented.
    file(GLOB asan_support_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/support/*.cpp)
    list(FILTER asan_support_sources EXCLUDE REGEX "/TestMain[^/]*\\.cpp$")
    add_library(kesto_test_support_asan OBJECT ${asan_support_sources}
                ${kesto_sanitizer_dir}/KeepLibrariesLoaded.cpp)
    target_include_directories(kesto_test_support_asan PUBLIC ${PROJECT_SOURCE_DIR}
                               ${KESTO_LOG_INCLUDE_DIR} ${KESTO_JNI_INCLUDE_DIRS})
    target_compile_options(kesto_test_support_asan PUBLIC ${asan_flags}
                           PRIVATE -Wno-maybe-uninitialized)
    target_link_libraries(kesto_test_support_asan PUBLIC GTest::gtest X11::X11)

    # halt_on_error: the first report ends the test. LeakSanitizer checks at exit, also in the
    # children of the death tests. No suppressions: with Mesa's driver kept loaded
    # (KeepLibrariesLoaded.cpp) neither suite leaves any leak, so there is nothing to excuse.
    string(JOIN ":" asan_options detect_leaks=1 halt_on_error=1 detect_stack_use_after_return=1
           check_initialization_order=1 strict_init_order=1)
    set(asan_environment "ASAN_OPTIONS=${asan_options}"
        "UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1")

    foreach(folder unit gl)
        set(target kesto_${folder}_tests_asan)
        file(GLOB suite_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
        add_executable(${target} ${suite_sources} support/TestMain.cpp)
        target_link_libraries(${target} PRIVATE kesto_test_support_asan xolkesto2engine_asan
                              kesto2host GTest::gtest Threads::Threads)
        # The dlclose of KeepLibrariesLoaded.cpp must be visible to the libraries.
        target_link_options(${target} PRIVATE -Wl,--export-dynamic-symbol=dlclose)
        gtest_discover_tests(${target} TEST_PREFIX "asan.${folder}." DISCOVERY_TIMEOUT 60)
        kesto_set_discovered_properties(${target} LABELS "${folder};asan"
                                        ENVIRONMENT "${asan_environment}")
    endforeach()
endif()

# Preloaded into the JVM sessions below; see KeepLibrariesLoaded.cpp.
add_library(kesto_keep_loaded SHARED ${kesto_sanitizer_dir}/KeepLibrariesLoaded.cpp)

# --- The Java API fuzzer -------------------------------------------------------------------------
# Random call sequences over every native (tests/jvm/com/xol/kesto2/fuzz), in a JVM that loads the
# ASan+UBSan engine: its committed seeds, then new ones for a bounded time. The JVM keeps its own
# signal handlers; leaks are for the counters and the LeakSanitizer sessions below. Mesa stays
# loaded: every sequence ends its display, and reloading the driver would take most of the time.
if(KESTO_ASAN_TESTS)
    set(asan_jvm_dir ${CMAKE_CURRENT_BINARY_DIR}/asan-jvm)
    add_custom_command(TARGET xolkesto2engine_asan POST_BUILD
        COMMAND ${CMAKE_COMMAND} -E make_directory ${asan_jvm_dir}
        COMMAND ${CMAKE_COMMAND} -E copy $<TARGET_FILE:xolkesto2engine_asan>
                ${asan_jvm_dir}/libxolkesto2engine.so)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libasan.so
                    OUTPUT_VARIABLE asan_runtime OUTPUT_STRIP_TRAILING_WHITESPACE)
    set(KESTO_API_FUZZ_SECONDS 60 CACHE STRING "Seconds of new sequences the API fuzzer runs in make test")
    string(JOIN ":" asan_jvm_options handle_segv=0 handle_sigbus=0 handle_sigill=0 handle_sigfpe=0
           allow_user_segv_handler=1 detect_leaks=0 halt_on_error=1)
    add_test(NAME fuzz.api
             COMMAND ${Java_JAVA_EXECUTABLE} -Xcheck:jni
                     -Djava.library.path=${asan_jvm_dir}:${jvm_library_path} -cp ${jvm_class_path}
                     com.xol.kesto2.fuzz.ApiFuzzer
                     --seeds ${CMAKE_CURRENT_SOURCE_DIR}/fuzz/corpus/api/seeds.txt
                     --seconds ${KESTO_API_FUZZ_SECONDS})
    set(asan_jvm_environment "LD_PRELOAD=${asan_runtime}:$<TARGET_FILE:kesto_keep_loaded>"
        "ASAN_OPTIONS=${asan_jvm_options}" "UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1")
    set_tests_properties(fuzz.api PROPERTIES LABELS "fuzz;asan;jvm" TIMEOUT 600
        ENVIRONMENT "${asan_jvm_environment}")
    # The binding's error paths when memory runs out, and lost contexts recovered from through the
    # object layer, on the same engine.
    foreach(class com.xol.kesto2.AllocationFaultTest com.xol.kesto2.scene.ContextLossTest
                  com.xol.kesto2.demo.ShowcaseTest)
        string(REGEX REPLACE ".*\\." "" name ${class})
        add_test(NAME asan.jvm.${name}
                 COMMAND ${Java_JAVA_EXECUTABLE} -Xcheck:jni
                         -Djava.library.path=${asan_jvm_dir}:${jvm_library_path}
                         -cp ${jvm_class_path} org.junit.runner.JUnitCore ${class})
        set_tests_properties(asan.jvm.${name} PROPERTIES LABELS "asan;jvm" TIMEOUT 600
            ENVIRONMENT "${asan_jvm_environment}")
    endforeach()
endif()

# --- LeakSanitizer in the JVM -------------------------------------------------------------------
# Every JUnit class again, each in a JVM with GCC's standalone LeakSanitizer runtime preloaded and
# the ordinary engine library. lsan-jvm.sh fails a class when a leak's stack holds a frame of the
# engine or of its host library (by module, or by source file where frames are symbolised).
if(KESTO_LSAN_JVM_TESTS)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=liblsan.so.0
                    OUTPUT_VARIABLE KESTO_LSAN_RUNTIME OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT IS_ABSOLUTE "${KESTO_LSAN_RUNTIME}" OR NOT EXISTS "${KESTO_LSAN_RUNTIME}")
        message(WARNING "No liblsan.so.0 beside ${CMAKE_CXX_COMPILER}: JVM leak checks not run")
    else()
        get_filename_component(KESTO_LSAN_RUNTIME ${KESTO_LSAN_RUNTIME} REALPATH)

        string(REGEX REPLACE "([][.*+?^$(){}|\\])" "\\\\\\1" source_pattern ${PROJECT_SOURCE_DIR})
        string(JOIN "|" engine_dirs ${KESTO_SOURCE_DIRS} host)
        set(engine_pattern
            "(libxolkesto2engine|libkesto2host)\\.so|${source_pattern}/(${engine_dirs})/")

        foreach(source IN LISTS jvm_test_sources)
            get_filename_component(class ${source} NAME_WE)
            if(NOT class MATCHES "Test$")
                continue()
            endif()
            file(RELATIVE_PATH relative ${CMAKE_CURRENT_SOURCE_DIR}/jvm ${source})
            get_filename_component(package_dir ${relative} DIRECTORY)
            string(REPLACE "/" "." package ${package_dir})
            add_test(NAME lsan.jvm.${class}
                     COMMAND ${kesto_sanitizer_dir}/lsan-jvm.sh ${KESTO_LSAN_RUNTIME}
                             $<TARGET_FILE:kesto_keep_loaded> ${kesto_sanitizer_dir}/lsan-jvm.supp
                             ${engine_pattern}
                             ${Java_JAVA_EXECUTABLE} -Xcheck:jni
                             -Djava.library.path=${jvm_library_path}
                             -Dkesto.golden=${CMAKE_CURRENT_SOURCE_DIR}/jvm/golden -cp ${jvm_class_path}
                             org.junit.runner.JUnitCore ${package}.${class})
            set_tests_properties(lsan.jvm.${class} PROPERTIES LABELS "jvm;lsan" TIMEOUT 300)
        endforeach()
    endif()
endif()
