# Everything the code is compiled with hangs on this one target.
add_library(project_options INTERFACE)
target_compile_features(project_options INTERFACE cxx_std_20)
target_compile_options(project_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Werror)
# Sources that are compiled together are all included ones: what stands in an unnamed namespace there is no fault, and
# a class further down may use its names again, which clang takes for shadows.
target_compile_options(project_options INTERFACE
    $<$<AND:$<BOOL:${CMAKE_UNITY_BUILD}>,$<CXX_COMPILER_ID:GNU>>:-Wno-subobject-linkage>
    $<$<AND:$<BOOL:${CMAKE_UNITY_BUILD}>,$<CXX_COMPILER_ID:Clang>>:-Wno-shadow>)
target_compile_definitions(project_options INTERFACE
    QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING
    QT_DEPRECATED_WARNINGS QT_DISABLE_DEPRECATED_BEFORE=0x050F00)
target_include_directories(project_options INTERFACE ${PROJECT_SOURCE_DIR}/src)

# Some 80 programs are linked here, most of them tests: a fast linker saves minutes of each build.
find_program(ARKIVON_MOLD mold)
if(ARKIVON_MOLD)
    target_link_options(project_options INTERFACE -fuse-ld=mold)
endif()

# What is delivered has tables of addresses that nobody can write to once it runs.
target_link_options(project_options INTERFACE $<$<CONFIG:Release>:LINKER:-z,relro,-z,now>)

if(ARKIVON_SANITIZE)
    target_compile_options(project_options INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=undefined
                                                     -fno-omit-frame-pointer)
    target_link_options(project_options INTERFACE -fsanitize=address,undefined)
endif()
if(ARKIVON_FUZZ)
    target_compile_options(project_options INTERFACE -fsanitize=fuzzer-no-link,address,undefined
                                                     -fno-sanitize-recover=undefined)
    target_link_options(project_options INTERFACE -fsanitize=address,undefined)
endif()

# add_floor(NAME sources...): one folder of src/ as a static library.
function(add_floor name)
    add_library(${name} STATIC ${ARGN})
    target_link_libraries(${name} PUBLIC project_options)
endfunction()

# add_qt_test(NAME libraries...): the test program NAME.cpp of the current folder, run by CTest.
function(add_qt_test name)
    add_executable(${name} ${name}.cpp)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${ARGN} Qt5::Test project_options)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 120 ENVIRONMENT "LC_ALL=C.UTF-8")
endfunction()
