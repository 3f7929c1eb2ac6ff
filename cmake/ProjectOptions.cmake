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

# Each change of a floor links its test programs again: a fast linker is felt.
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

# add_floor_tests(NAME CLASSES class... LIBRARIES library... [DEFINITIONS definition...] [NEEDS program...] [APART class...]):
# one test program of the sources class.cpp of the current folder; CTest runs class by class. APART: those that wait more
# than they work, function by function, so that they wait beside each other.
function(add_floor_tests name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "CLASSES;LIBRARIES;DEFINITIONS;NEEDS;APART")
    list(TRANSFORM arg_CLASSES APPEND .cpp OUTPUT_VARIABLE sources)
    add_executable(${name} ${sources})
    target_compile_definitions(${name} PRIVATE ${arg_DEFINITIONS})
    target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} test_main project_options)
    if(arg_NEEDS)
        add_dependencies(${name} ${arg_NEEDS})
    endif()
    set(tests)
    foreach(class IN LISTS arg_CLASSES)
        if(NOT class IN_LIST arg_APART)
            add_test(NAME ${class} COMMAND ${name} ${class})
            list(APPEND tests ${class})
            continue()
        endif()
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${class}.cpp)
        file(READ ${class}.cpp source)
        string(REGEX REPLACE "\n(namespace|#define).*" "" source "${source}") # the class with its slots comes first
        string(REGEX MATCHALL "\n    void [A-Za-z]+\\(" functions "${source}")
        list(TRANSFORM functions REPLACE "\n    void (.+)\\(" "\\1")
        foreach(function IN LISTS functions)
            add_test(NAME ${class}.${function} COMMAND ${name} ${class} ${function})
            list(APPEND tests ${class}.${function})
        endforeach()
    endforeach()
    set_tests_properties(${tests} PROPERTIES TIMEOUT 120 ENVIRONMENT "LC_ALL=C.UTF-8")
endfunction()
