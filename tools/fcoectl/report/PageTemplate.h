// The page's templates in the Mustache language: page.html and node.html beside this file.
#pragma once

namespace fcoectl {

extern const char PAGE_TEMPLATE[];
extern const char NODE_TEMPLATE[]; // one box of the picture, with those below it

} // namespace fcoectl
