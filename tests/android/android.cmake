# Android: scripts/android.sh builds the four libraries, the AAR and the unit suite for bionic, and
# these tests check them. With neither ANDROID_NDK nor shared/android beside the checkout, one test
# says why and is skipped.
set(KESTO_SHARED_ANDROID ${PROJECT_SOURCE_DIR}/../shared/android)
set(android_out ${CMAKE_BINARY_DIR}/android)
set(android_checks ${CMAKE_CURRENT_SOURCE_DIR}/android)
if(NOT DEFINED ENV{ANDROID_NDK} AND NOT EXISTS ${KESTO_SHARED_ANDROID}/android.toolchain.cmake)
    add_test(NAME android.skipped
             COMMAND sh -c "echo 'android: skipped - no Android toolchain (set ANDROID_NDK, or put shared/android beside the checkout)'; exit 77")
    set_tests_properties(android.skipped PROPERTIES LABELS android SKIP_RETURN_CODE 77)
    return()
endif()

add_test(NAME android.build
         COMMAND ${PROJECT_SOURCE_DIR}/scripts/android.sh --with-tests ${android_out})
set_tests_properties(android.build PROPERTIES FIXTURES_SETUP android TIMEOUT 900)
foreach(abi arm64-v8a armeabi-v7a x86_64 x86)
    add_test(NAME android.library.${abi}
             COMMAND ${android_checks}/check-library.sh ${android_out} ${abi} ${PROJECT_SOURCE_DIR})
    set_tests_properties(android.library.${abi} PROPERTIES FIXTURES_REQUIRED android)
endforeach()
add_test(NAME android.aar
         COMMAND ${android_checks}/check-aar.sh ${android_out}/kesto2.aar ${PROJECT_SOURCE_DIR})
add_test(NAME android.unit
         COMMAND ${android_checks}/run-bionic.sh ${android_out}/build/x86_64-bionic-tests
                 ${KESTO_SHARED_ANDROID})
set_tests_properties(android.aar android.unit PROPERTIES FIXTURES_REQUIRED android)

if(DEFINED ENV{ANDROID_JAR})
    set(android_api_jar $ENV{ANDROID_JAR})
else()
    set(android_api_jar ${KESTO_SHARED_ANDROID}/platforms/android-21.jar)
endif()
add_test(NAME android.java
         COMMAND ${android_checks}/check-java.sh ${android_api_jar} ${KESTO_HOST_JAR}
                 ${PROJECT_SOURCE_DIR})

get_property(android_tests DIRECTORY PROPERTY TESTS)
list(FILTER android_tests INCLUDE REGEX "^android\\.")
set_tests_properties(${android_tests} PROPERTIES LABELS android SKIP_RETURN_CODE 77)
