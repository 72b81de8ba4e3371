# Installs the build, moves it, and builds and runs the program of examples/program against it: with
# find_package, and with pkg-config. Each header that is installed compiles alone, as C as well where
# it is for C programs.
#   cmake -DSOURCE=... -DBUILD=... -DCOMPILER=... -DLIBDIR=... -P installed.cmake
set(folder ${BUILD}/package)
set(prefix ${folder}/moved)
file(REMOVE_RECURSE ${folder})

function(run)
  execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${folder} RESULT_VARIABLE status
                  OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${ARGN}\n${output}")
  endif()
endfunction()

file(MAKE_DIRECTORY ${folder})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${folder}/installed)
file(RENAME ${folder}/installed ${prefix})

run(${CMAKE_COMMAND} -S ${SOURCE}/examples/program -B ${folder}/program -G Ninja
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_FLAGS=${FLAGS})
run(${CMAKE_COMMAND} --build ${folder}/program)

set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
execute_process(COMMAND pkg-config --cflags --libs orvxml OUTPUT_VARIABLE flags
                OUTPUT_STRIP_TRAILING_WHITESPACE)
separate_arguments(flags UNIX_COMMAND "${flags}")
separate_arguments(own UNIX_COMMAND "${FLAGS}")
run(${COMPILER} -std=c++20 ${own} ${SOURCE}/examples/program/shred.cpp -o ${folder}/by_pkg_config
    ${flags} -Wl,-rpath,${prefix}/${LIBDIR})

file(GLOB headers ${prefix}/include/orv/*.h ${prefix}/include/orvxml/*.h)
foreach(header ${headers})
  run(${COMPILER} -std=c++20 ${own} -fsyntax-only -x c++ ${header} -I${prefix}/include)
  file(READ ${header} text)
  if(text MATCHES "__cplusplus")
    run(${COMPILER} -std=c11 -Wall -Wextra -Werror -fsyntax-only -I${prefix}/include
        -include ${header} -x c /dev/null)
  endif()
endforeach()

set(orvxml ${prefix}/bin/orvxml)
set(invoices ${SOURCE}/examples/invoices)
run(${orvxml} --db ${folder}/a.db create)
run(${orvxml} --db ${folder}/a.db sql --file ${invoices}/tables.sql)
run(${folder}/program/shred ${folder}/a.db ${invoices}/invoices.dad
    ${invoices}/documents/c-1001.xml)
run(${folder}/by_pkg_config ${folder}/a.db ${invoices}/invoices.dad
    ${invoices}/documents/c-1002.xml)
