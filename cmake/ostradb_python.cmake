# Finds what the Python package builds with: a Python 3 interpreter with its headers and
# pybind11. Sets OSTRADB_PYTHON_FOUND.
#
# The first python3 on the PATH may lack pybind11 (a pyenv or venv interpreter before the
# system's), so unless Python3_EXECUTABLE is given the interpreter chosen is the first of the
# PATH's python3 and the system's /usr/bin/python3 that imports pybind11; pybind11's CMake
# package is then taken from it. With Python3_EXECUTABLE given (the wheel build passes the
# interpreter that runs it), pybind11's CMake package is found as usual.

set(OSTRADB_PYTHON_FOUND OFF)

function(ostradb_pybind11_dir python result)
  execute_process(COMMAND "${python}" -c "import pybind11; print(pybind11.get_cmake_dir())"
                  RESULT_VARIABLE status OUTPUT_VARIABLE dir ERROR_QUIET
                  OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(status EQUAL 0 AND IS_DIRECTORY "${dir}")
    set(${result} "${dir}" PARENT_SCOPE)
  else()
    set(${result} "" PARENT_SCOPE)
  endif()
endfunction()

if(NOT Python3_EXECUTABLE)
  find_program(_ostradb_path_python3 NAMES python3 NO_CACHE)
  foreach(candidate IN ITEMS ${_ostradb_path_python3} /usr/bin/python3)
    if(NOT EXISTS "${candidate}")
      continue()
    endif()
    ostradb_pybind11_dir("${candidate}" dir)
    if(dir)
      set(Python3_EXECUTABLE "${candidate}" CACHE FILEPATH "Python interpreter of the package")
      if(NOT pybind11_DIR)
        set(pybind11_DIR "${dir}" CACHE PATH "pybind11's CMake package")
      endif()
      break()
    endif()
  endforeach()
elseif(NOT pybind11_DIR)
  ostradb_pybind11_dir("${Python3_EXECUTABLE}" dir)
  if(dir)
    set(pybind11_DIR "${dir}" CACHE PATH "pybind11's CMake package")
  endif()
endif()

find_package(Python3 3.8 QUIET COMPONENTS Interpreter Development.Module)
if(Python3_FOUND)
  find_package(pybind11 2.6 CONFIG QUIET)
  if(pybind11_FOUND)
    set(OSTRADB_PYTHON_FOUND ON)
  endif()
endif()
