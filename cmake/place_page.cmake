# cmake -DFROM=web/dist -DTO=<bin>/page -P place_page.cmake: the built page beside the program; nothing
# where it has not been built.
if(EXISTS "${FROM}/index.html")
  file(REMOVE_RECURSE "${TO}")
  file(COPY "${FROM}/" DESTINATION "${TO}")
endif()
