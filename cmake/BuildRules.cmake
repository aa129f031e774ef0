# Compiler options and include folders of every target of this project.
add_library(build_rules INTERFACE)
target_include_directories(build_rules INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(build_rules INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)

# Without these, stat fails in a 32-bit build for large files, inode numbers beyond 32 bits and dates after 2038.
target_compile_definitions(build_rules INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)

if(APPLE)
    # For old deployment targets, the compiler's default library is one without C++11.
    add_compile_options($<$<COMPILE_LANGUAGE:CXX,OBJCXX>:-stdlib=libc++>)
    add_link_options(-stdlib=libc++)
endif()

if(TESSARINE_SANITIZE)
    # For all targets, not only those with build_rules: GoogleTest, which is built here, must be instrumented, too.
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_compile_definitions(_GLIBCXX_ASSERTIONS) # an index past a vector's end often lies in memory that it owns
    add_link_options(-fsanitize=address,undefined)
endif()
