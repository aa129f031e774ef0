# What every target of this project is compiled with.
add_library(build_rules INTERFACE)
target_include_directories(build_rules INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(build_rules INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)

# Large files, inode numbers beyond 32 bits and dates past 2038 must not make stat fail in a 32-bit build.
target_compile_definitions(build_rules INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)

if(APPLE)
    # The compiler's default for old deployment targets knows no C++11.
    add_compile_options($<$<COMPILE_LANGUAGE:CXX,OBJCXX>:-stdlib=libc++>)
    add_link_options(-stdlib=libc++)
endif()

if(TESSARINE_SANITIZE)
    # Dependencies built here (GoogleTest) are instrumented too, hence not on build_rules alone.
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()
