// Opens the movie library when it is needed for the first time.
#pragma once

#include "movie/movie_functions.h"

namespace serializer
{

/// The operations of the movie library that lies beside this library's own file. Loading it costs
/// more than a hundred shared libraries, so pictures never do. Loaded once, stays loaded; null
/// with a line on standard error when it cannot be opened. Any thread.
const movie::Functions* movieFunctions();

} // namespace serializer
