# The instrumented twin of the library (preset win32-coverage, ./run coverage), in which every line
# and every branch counts how often it runs. What ships is built without any of this.
option(Q32BASE_COVERAGE "Count in the library what the tests reach" OFF)
if(Q32BASE_COVERAGE)
  # Counts that two threads change at once are lost otherwise, and what is computed from them is wrong.
  target_compile_options(q32_kernel_options INTERFACE "$<$<COMPILE_LANGUAGE:CXX>:--coverage;-fprofile-update=atomic>")
  target_link_options(q32_kernel_options INTERFACE --coverage)
  # Without optimisation each step of a vector kernel is a call.
  target_compile_options(
    q32_kernel_options INTERFACE $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,STATIC_LIBRARY>:-O1>)
endif()
