// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/AnnotationEdit.h"
#include "tools/RegionFormat.h"

#include <optional>
#include <ostream>
#include <string>

namespace Corvana::Tools {

/// `corvana annotations import`: gives recordings the regions of label files.
struct CommandAnnotationsImport
{
    struct Options
    {
        /// Its files are the recordings; without a folder exactly one.
        AnnotationEditOptions m_edit;
        std::string m_strLabels;              ///< the label file of the one recording; "-" is standard input
        std::string m_strFolder;              ///< where each recording has a label file of the same base name
        std::optional<RegionFormat> m_format; ///< none: as the label file's ending says
        std::string m_strMap;                 ///< a file for LabelMap; empty: labels are types
        bool m_bAppend = false;               ///< keep the regions that are there
    };

    /// Returns an ExitCode.
    static int run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages);
};

} // namespace Corvana::Tools
