#pragma once

#include <cstddef>
#include <string_view>

namespace Norvik
{

/**
 * Whether an XML text nests elements deeper than @p levels.
 *
 * The XML reader of boost::property_tree goes down one stack frame with each level. This walk needs no stack
 * and reads the text by that reader's own rules, so that nothing that counts as an element there is taken for
 * a comment here. What follows the first error of the text doesn't count: the reader ends there, too.
 */
bool NestsDeeperThan(std::string_view text, std::size_t levels);

} // namespace Norvik
