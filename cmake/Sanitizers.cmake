# One sanitizer set for a whole build tree: mixing instrumented and plain objects hides errors.
if(VISTREL_SANITIZE)
  add_compile_options(-fsanitize=${VISTREL_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${VISTREL_SANITIZE})
  if(VISTREL_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()

# Fuzzers steer by the branches that the code under test takes.
if(VISTREL_FUZZERS)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
