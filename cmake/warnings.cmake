# One place for warning and sanitizer flags, applied per target.
function(bayhal_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
  if(BAYHAL_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

if(BAYHAL_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()
