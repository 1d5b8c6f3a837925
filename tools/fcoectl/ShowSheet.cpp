#include "tools/fcoectl/ShowSheet.h"

#include "tools/fcoectl/Query.h"
#include "tools/fcoectl/Rendering.h"

namespace fcoectl {

void ShowSheet(Context& context, const char* list, Sheet sheet) {
    const Options& options = context.options;
    const Sheet shown = Arranged(std::move(sheet), options.query, options.form);
    if (options.json)
        context.report.body[list] = JsonOf(shown);
    else
        context.output.Write(Rendered(shown, options.form, {options.header, context.output.HasColours()}));
}

} // namespace fcoectl
