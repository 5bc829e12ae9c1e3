# Compiler settings shared by every target of the project.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")

find_program(CCACHE ccache)
if(CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE}")
endif()

find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(OpenSSL REQUIRED)
find_package(Boost REQUIRED)
pkg_check_modules(HIREDIS REQUIRED IMPORTED_TARGET hiredis)
pkg_check_modules(CJSON REQUIRED IMPORTED_TARGET libcjson)

# LOBBY_SANITIZE: empty, "address,undefined" or "thread" (set by the presets).
set(LOBBY_SANITIZE "" CACHE STRING "Sanitizers to build with")
if(LOBBY_SANITIZE)
    add_compile_options(-fsanitize=${LOBBY_SANITIZE} -fno-omit-frame-pointer
                        -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${LOBBY_SANITIZE})
    # Instrumented frames do not fit the 16 KiB thread stacks of a plain build.
    add_compile_definitions(LOBBY_SANITIZED=1)
endif()

# What Debian wants of every program; the sanitizers have their own ways. The options that Release
# has beside them are for the packages of symbols, in which no path of the building machine stands.
if(NOT LOBBY_SANITIZE)
    add_compile_options(-fstack-protector-strong -fPIE "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=."
                        $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>)
    add_link_options(-pie -Wl,-z,relro)
endif()

add_library(lobby_options INTERFACE)
target_compile_options(lobby_options INTERFACE
    -Wall -Wextra -Wshadow -Wformat=2 -Wnon-virtual-dtor -Woverloaded-virtual
    -Wcast-align -Wundef -Werror
    # GCC 12 reports std::string's own copies.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    # Where many sources are compiled as one, an unnamed namespace stands in an included file.
    $<$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>:-Wno-subobject-linkage>)
target_include_directories(lobby_options INTERFACE "${PROJECT_SOURCE_DIR}/lib/include")
target_link_libraries(lobby_options INTERFACE Threads::Threads)
# Lazy binding would run the dynamic linker on 16 KiB thread stacks at the first call of a function.
target_link_options(lobby_options INTERFACE -Wl,-z,now)

# lobby_library(NAME sources...): one static library of the project's own code.
function(lobby_library name)
    add_library(${name} STATIC ${ARGN})
    target_link_libraries(${name} PUBLIC lobby_options)
    target_include_directories(${name} PUBLIC "${CMAKE_CURRENT_SOURCE_DIR}/include")
endfunction()
