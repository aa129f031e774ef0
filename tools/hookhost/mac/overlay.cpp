#include "tools/hookhost/overlay.h"

#include "tools/hookhost/exit_status.h"

namespace hookhost {

std::unique_ptr<Overlay> makeOverlay(std::string const& /*root*/)
{
    throw Refusal(kExitHostError,
                  "--overlay needs Linux; on this system use --root with a copy of the folders");
}

} // namespace hookhost
