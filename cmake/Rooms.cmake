# One static library per folder under src/ ("room"), one test executable per folder under tests/.

add_library(velmoratide-options INTERFACE)
target_include_directories(velmoratide-options INTERFACE ${CMAKE_SOURCE_DIR}/src)
target_compile_options(velmoratide-options INTERFACE
    # Some compilers see overlapping copies in inlined string operations that do not overlap.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2
    $<$<BOOL:${VELMORATIDE_WERROR}>:-Werror>)
target_link_libraries(velmoratide-options INTERFACE Threads::Threads)

# velmoratide_room(NAME folder [USES library...] [FLAT]): FLAT takes the folder's own files, not its subfolders'.
function(velmoratide_room name folder)
    cmake_parse_arguments(ROOM "FLAT" "" "USES" ${ARGN})
    if(ROOM_FLAT)
        file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${folder}/*.cpp)
    else()
        file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${folder}/*.cpp)
    endif()
    list(FILTER sources EXCLUDE REGEX "/main[A-Za-z]*\\.cpp$")
    list(REMOVE_ITEM sources ${VELMORATIDE_CONTROLLERS})
    add_library(velmoratide-${name} STATIC ${sources})
    target_link_libraries(velmoratide-${name} PUBLIC velmoratide-options ${ROOM_USES})
endfunction()

# velmoratide_tests(folder USES library... [LABEL label]): every tests/<folder>/*Test.cpp in one executable.
function(velmoratide_tests folder)
    cmake_parse_arguments(ROOM "" "LABEL;TIMEOUT" "USES" ${ARGN})
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
    if(NOT sources)
        return()
    endif()
    string(REPLACE "/" "-" name ${folder})
    add_executable(test-${name} ${sources})
    target_include_directories(test-${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    target_link_libraries(test-${name} PRIVATE ${ROOM_USES} test-support GTest::gtest GTest::gtest_main)
    if(NOT ROOM_TIMEOUT)
        set(ROOM_TIMEOUT 300)
    endif()
    if(VELMORATIDE_SANITIZED)
        math(EXPR ROOM_TIMEOUT "4 * ${ROOM_TIMEOUT}")
    endif()
    set(properties TIMEOUT ${ROOM_TIMEOUT})
    if(ROOM_LABEL)
        list(APPEND properties LABELS ${ROOM_LABEL})
    endif()
    if(VELMORATIDE_SANITIZED)
        list(APPEND properties FIXTURES_REQUIRED sanitizer)
    endif()
    include(GoogleTest)
    gtest_discover_tests(test-${name} TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 60 PROPERTIES ${properties})
endfunction()
