// SPDX-License-Identifier: Apache-2.0
#include "tools/DescriptionChecker.h"

#include "corvana/AudioFeature.h"
#include "corvana/NumberText.h"
#include "corvana/OS.h"
#include "tools/Text.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <sstream>

namespace Corvana::Tools {
namespace {

// A part of the description that knows where it stands.
struct Piece
{
    std::string_view m_strText;
    std::size_t m_uiBegin;

    std::size_t end() const { return m_uiBegin + m_strText.size(); }
    Piece sub(std::size_t in_uiBegin, std::size_t in_uiLength = std::string_view::npos) const
    {
        return {m_strText.substr(in_uiBegin, in_uiLength), m_uiBegin + in_uiBegin};
    }
    Piece withoutBlanks() const
    {
        const std::string_view strInner = withoutBlanksAround(m_strText);
        // Of nothing but blanks nothing is left, at their beginning.
        return {strInner, strInner.empty() ? m_uiBegin : m_uiBegin + m_strText.find(strInner.front())};
    }
};

using Pieces = std::vector<Piece>;

Pieces splitAt(const Piece& in_piece, char in_cSeparator)
{
    Pieces vPieces;
    std::size_t uiBegin = 0;
    for (;;) {
        const std::size_t uiEnd = in_piece.m_strText.find(in_cSeparator, uiBegin);
        vPieces.push_back(in_piece.sub(uiBegin, uiEnd == std::string_view::npos ? uiEnd : uiEnd - uiBegin));
        if (uiEnd == std::string_view::npos)
            return vPieces;
        uiBegin = uiEnd + 1;
    }
}

DescriptionFault fault(const std::string& in_strText, const Piece& in_piece)
{
    return {in_strText, in_piece.m_uiBegin, in_piece.end()};
}

std::vector<std::string> describedNames()
{
    std::vector<std::string> vNames;
    for (const Audio::FeatureDescription& description : Audio::getFeatureDescriptions())
        vNames.emplace_back(description.m_szName);
    return vNames;
}

const Audio::FeatureDescription* findDescription(std::string_view in_strName)
{
    std::string strName(in_strName);
    strToLower(strName);
    for (const Audio::FeatureDescription& description : Audio::getFeatureDescriptions())
        if (strName == description.m_szName)
            return &description;
    return nullptr;
}

// Examines one stage from its outside inwards.
class StageCheck
{
public:
    StageCheck(const Piece& in_stage, const Math::SignalFeaturePool& in_pool)
        : m_stage(in_stage.withoutBlanks())
        , m_pool(in_pool)
    {
    }

    bool run(std::size_t in_uiNbOfStages)
    {
        if (m_stage.m_strText.empty())
            return fail(in_uiNbOfStages == 1 ? "the description is empty" : "a stage of the chain is empty", m_stage);
        return checkParentheses() && checkName() && checkParameters() && checkMade();
    }

    const DescriptionFault& getFault() const { return m_fault; }
    DescriptionStage getStage() const { return {std::string(m_stage.m_strText), m_pDescription}; }

private:
    bool fail(const std::string& in_strText, const Piece& in_piece)
    {
        m_fault = fault(in_strText, in_piece);
        return false;
    }

    bool checkParentheses()
    {
        const std::size_t uiOpen = m_stage.m_strText.find('(');
        const std::size_t uiStray = m_stage.m_strText.substr(0, uiOpen).find(')');
        if (uiStray != std::string_view::npos)
            return fail("a ')' without its '('", m_stage.sub(uiStray, 1));
        m_name = m_stage.sub(0, uiOpen).withoutBlanks();
        if (uiOpen == std::string_view::npos)
            return true;
        if (m_name.m_strText.empty())
            return fail("a feature's name is missing before '('", m_stage.sub(uiOpen, 1));

        const std::size_t uiNext = m_stage.m_strText.find_first_of("()", uiOpen + 1);
        if (uiNext == std::string_view::npos)
            return fail("'(' is never closed", m_stage.sub(uiOpen, 1));
        if (m_stage.m_strText[uiNext] == '(')
            return fail("a '(' inside parentheses", m_stage.sub(uiNext, 1));
        if (uiNext + 1 != m_stage.m_strText.size())
            return fail("nothing may follow ')' but '|' and another feature", m_stage.sub(uiNext + 1).withoutBlanks());
        m_parameters = m_stage.sub(uiOpen, uiNext + 1 - uiOpen);
        const Piece inside = m_stage.sub(uiOpen + 1, uiNext - uiOpen - 1);
        if (!inside.withoutBlanks().m_strText.empty())
            m_vParameters = splitAt(inside, ',');
        return true;
    }

    bool checkName()
    {
        m_pDescription = findDescription(m_name.m_strText);
        if (m_pDescription != nullptr)
            return true;
        if (Audio::AudioFeature::parseFeatureType(std::string(m_name.m_strText).c_str()).isValid())
            return fail("the feature " + inQuotes(m_name.m_strText) + " exists, but cannot be made from a description",
                        m_name);
        return fail("unknown feature " + inQuotes(m_name.m_strText) +
                        didYouMean(nearestNames(m_name.m_strText, describedNames())),
                    m_name);
    }

    bool checkParameters()
    {
        for (const Piece& parameter : m_vParameters)
            if (parameter.withoutBlanks().m_strText.empty())
                return fail("a parameter is empty", parameter);
        const std::size_t uiCount = m_vParameters.size();
        if (uiCount >= m_pDescription->m_uiMinParameters && uiCount <= m_pDescription->m_uiMaxParameters)
            return true;
        return fail(std::string(m_pDescription->m_szName) + " takes " + parameterCountText(*m_pDescription) + ", not " +
                        std::to_string(uiCount) + "; " + usage(),
                    m_parameters.m_strText.empty() ? m_name : m_parameters);
    }

    // The factory reads the parameters; asking it keeps both of one mind.
    bool checkMade()
    {
        const std::string strStage(m_stage.m_strText);
        if (std::unique_ptr<Math::SignalFeature>(m_pool.getNewFeature(strStage.c_str())) != nullptr)
            return true;
        for (const Piece& parameter : m_vParameters)
            if (!isReadable(parameter.withoutBlanks().m_strText))
                return fail("the parameter " + inQuotes(parameter.withoutBlanks().m_strText) + " is no whole number; " +
                                usage(),
                            parameter.withoutBlanks());
        return fail("no feature can be made from this; " + usage(), m_stage);
    }

    static bool isReadable(std::string_view in_strParameter)
    {
        std::istringstream stream{std::string(in_strParameter)};
        unsigned long uiValue = 0;
        return static_cast<bool>(stream >> uiValue);
    }

    std::string usage() const
    {
        return "it is written " + writtenForm(*m_pDescription) + ", as in " + inQuotes(m_pDescription->m_szExample);
    }

    Piece m_stage;
    const Math::SignalFeaturePool& m_pool;
    Piece m_name{};
    Piece m_parameters{}; // with its parentheses
    Pieces m_vParameters;
    const Audio::FeatureDescription* m_pDescription = nullptr;
    DescriptionFault m_fault;
};

// The number of characters in UTF-8 text, so that the pointing line stands below the right one.
std::size_t columns(std::string_view in_strText)
{
    return static_cast<std::size_t>(std::count_if(in_strText.begin(), in_strText.end(), [](char in_cLetter) {
        return (static_cast<unsigned char>(in_cLetter) & 0xC0U) != 0x80U;
    }));
}

} // namespace

DescriptionChecker::DescriptionChecker(const Math::SignalFeaturePool& in_pool)
    : m_pool(in_pool)
{
}

std::vector<DescriptionStage> DescriptionChecker::check(std::string_view in_strDescription,
                                                        DescriptionFault& out_fault) const
{
    out_fault = {};
    const Piece description{in_strDescription, 0};
    const std::size_t uiNull = in_strDescription.find('\0');
    if (uiNull != std::string_view::npos) {
        out_fault = fault("a null character", description.sub(uiNull, 1));
        return {};
    }
    std::vector<DescriptionStage> vStages;
    const Pieces vPieces = splitAt(description, '|');
    for (const Piece& piece : vPieces) {
        StageCheck check(piece, m_pool);
        if (!check.run(vPieces.size())) {
            out_fault = check.getFault();
            return {};
        }
        vStages.push_back(check.getStage());
    }
    // Each stage can be made: then the chain as a whole is too long.
    if (std::unique_ptr<Math::SignalFeature>(m_pool.getNewFeature(std::string(in_strDescription).c_str())) == nullptr) {
        out_fault = fault("a chain of " + counted(vStages.size(), "stage") + " is too long", description);
        return {};
    }
    return vStages;
}

std::string faultText(std::string_view in_strDescription, const DescriptionFault& in_fault)
{
    const std::string strBefore = printable(in_strDescription.substr(0, in_fault.m_uiBegin));
    const std::string strFaulty =
        printable(in_strDescription.substr(in_fault.m_uiBegin, in_fault.m_uiEnd - in_fault.m_uiBegin));
    const std::size_t uiWidth = std::max<std::size_t>(1, columns(strFaulty));
    return in_fault.m_strText + "\n  " + printable(in_strDescription) + "\n  " + std::string(columns(strBefore), ' ') +
           "^" + std::string(uiWidth - 1, '~');
}

std::string writtenForm(const Audio::FeatureDescription& in_description)
{
    return std::string(in_description.m_szName) + in_description.m_szParameters;
}

std::string parameterCountText(const Audio::FeatureDescription& in_description)
{
    const unsigned uiMin = in_description.m_uiMinParameters;
    const unsigned uiMax = in_description.m_uiMaxParameters;
    if (uiMax == 0)
        return "no parameters";
    if (uiMin == uiMax)
        return counted(uiMin, "parameter");
    if (uiMax == std::numeric_limits<unsigned>::max())
        return std::to_string(uiMin) + " or more parameters";
    return std::to_string(uiMin) + (uiMax == uiMin + 1 ? " or " : " to ") + counted(uiMax, "parameter");
}

} // namespace Corvana::Tools
