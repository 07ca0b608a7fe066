// Reading the answers of a producer's information functions, which are optional and often odd.
#pragma once

#include "gentl_abi/gentl_abi.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace gentl
{

/// One question: an information function with everything bound but type, data and size.
using InfoQuestion = std::function<Error(std::int32_t* type, void* data, std::size_t* size)>;

/// One list entry: a function that gives an id with everything bound but text and size.
using IdQuestion = std::function<Error(char* text, std::size_t* size)>;

/// The answer as text (made valid UTF-8), or nothing: not implemented, not available, of another
/// type, or absurd in size. An empty text is an answer.
std::optional<std::string> askText(const InfoQuestion& question);

/// The answer as an unsigned number; signed ones are extended, so a cast gives them back.
std::optional<std::uint64_t> askNumber(const InfoQuestion& question);

/// What an information function wrote, as askNumber() gives it: `size` bytes (at most 8) that
/// should be of `type`; bytes that are missing count as zeros.
std::optional<std::uint64_t> decodeNumber(std::int32_t type, const unsigned char* bytes,
                                          std::size_t size);

/// The text of an id; nothing when it cannot be had. Not converted: ids go back as they came. For
/// both kinds of text a producer without memory is asked a second time.
std::optional<std::string> askId(const IdQuestion& question);

/// A list: a function that gives the id at an index.
using IdListQuestion = std::function<Error(std::uint32_t index, char* text, std::size_t* size)>;

/// Calls `each` with the ids of a list that is said to have `count`, those left out that cannot be
/// had or are empty. Sixty-four of these in a row end it: nobody has so many that nobody can name,
/// and a count of four billion would be asked for all day. Throws what `each` throws.
void forEachId(std::uint32_t count, const IdListQuestion& question,
               const std::function<void(const std::string& id)>& each);

} // namespace gentl
