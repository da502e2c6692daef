// SPDX-License-Identifier: Apache-2.0
// Any text as the description of a table: it is refused with a reason, or what is written of it reads back to the same
// text.
#include "FuzzSupport.h"

#include "tools/TableDescription.h"

#include <memory>
#include <sstream>

namespace Corvana::Fuzz {
namespace {

// The text that is written of what was read; false: it was refused.
bool rewrite(const std::string& in_strText, std::string& out_strText)
{
    Tools::TableDescriptionReader reader;
    std::vector<Tools::InputOutcome> vOutcomes;
    if (reader.read(std::make_unique<std::istringstream>(in_strText)))
        for (Tools::InputOutcome outcome; reader.next(outcome);)
            vOutcomes.push_back(outcome);
    if (!reader.getFault().empty())
        return false;
    std::ostringstream stream;
    Tools::TableDescriptionWriter writer(stream, reader.get());
    for (const Tools::InputOutcome& outcome : vOutcomes)
        writer.add(outcome);
    writer.finish();
    out_strText = stream.str();
    return true;
}

} // namespace
} // namespace Corvana::Fuzz

void Corvana::Fuzz::runTarget(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    std::string strOnce;
    std::string strTwice;
    if (!rewrite(std::string(reinterpret_cast<const char*>(in_pData), in_uiSize), strOnce))
        return;
    CORVANA_FUZZ_REQUIRE(rewrite(strOnce, strTwice));
    CORVANA_FUZZ_REQUIRE(strOnce == strTwice);
}
