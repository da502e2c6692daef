// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathDoubleVector.h"
#include "corvana/MathSignalFeaturePool.h"
#include "corvana/Resettable.h"

#include <memory>
#include <string>

namespace boost::archive {
class polymorphic_iarchive;
}
namespace boost::serialization {
class access;
}

namespace Corvana {
class ROConfiguration;
}

namespace Corvana::Math {

class FeatureGraph;

/// Computes a list of features of one window after another.
class CORVANA_API FeatureComputer : public virtual Resettable, public virtual Object
{
public:
    ~FeatureComputer() override;

    /// Replaces out_vFeatures by the features' values in the order of adding.
    virtual bool computeFeatures(DoubleVector& out_vFeatures) = 0;
};

/// A feature computer whose features read vectors that are given to it by name.
class CORVANA_API FeatureComputerWithInputs : public virtual FeatureComputer
{
public:
    ~FeatureComputerWithInputs() override;

    virtual bool setInput(const char* in_szName, const DoubleVector& in_vInput) = 0;
};

/// The features of a computer, made from descriptions by the factories of its pool.
/// Order of calls: addFeature() for each feature, configure() where features need it, then setWindow() and
/// computeFeatures() for each window, and reset() at the start of each new signal.
/// Stages that descriptions begin with alike, letter by letter ("spectrum|flatness", "spectrum|peaks"), are computed
/// once a window, for features added before the first window: a stage that has computed may remember something. Saved
/// and loaded with Boost.Serialization: the descriptions with the names of their inputs and outputs, not the inputs,
/// the windows or what features remember. Archives are trusted input: a damaged one can crash Boost.
class CORVANA_API FeatureComputerImpl : public virtual FeatureComputer
{
public:
    FeatureComputerImpl();
    ~FeatureComputerImpl() override;
    FeatureComputerImpl(const FeatureComputerImpl&) = delete;
    FeatureComputerImpl& operator=(const FeatureComputerImpl&) = delete;

    /// in_szDescription: "silenceratio", "spectralrange(1000,100)", or stages joined by "|".
    /// in_szInputName: what the first stage reads; "" the window, else an earlier feature's output name or an input.
    /// in_szOutputName: "" to append the values to the result, else to keep them for later features only.
    /// False, with nothing changed: no factory makes a stage, or the output name is already in use, a text is null, or
    /// there are 65536 features already.
    bool addFeature(const char* in_szDescription, const char* in_szInputName = "", const char* in_szOutputName = "");
    /// Copies the unnamed input.
    void setWindow(const DoubleVector& in_vWindow);
    /// Configures the stages without parentheses that take parameters from a configuration. False when one of them
    /// fails; all are configured.
    bool configure(const ROConfiguration& in_config);

    /// False, with an empty out_vFeatures and a message at error level that names it: an input is missing, a feature
    /// failed, or a loaded description is unknown.
    bool computeFeatures(DoubleVector& out_vFeatures) override;
    /// Does what setWindow() and computeFeatures() for one window after another do, up to the first one that fails,
    /// with the same values and messages, and replaces each output by the values of its window. Spectra of several
    /// windows take less time than as many alone; 8 or a multiple of it is best. Returns how many windows were
    /// computed: when fewer than given, the next one's output is empty, and those behind it are as they were.
    /// No output may be one of the windows, as these are read where they lie.
    unsigned long computeSeveral(unsigned long in_uiNbOfWindows, const DoubleVector* in_pWindows,
                                 DoubleVector* out_pFeatures);
    /// Resets every stage that can be reset.
    bool reset() override;

    unsigned long getNbOfFeatures() const;
    /// What addFeature() was given; in_uiIndex is below getNbOfFeatures().
    const std::string& getDescription(unsigned long in_uiIndex) const;
    const std::string& getInputName(unsigned long in_uiIndex) const;
    const std::string& getOutputName(unsigned long in_uiIndex) const;
    SignalFeaturePool& getFeaturePool();

protected:
    /// Copies a named input. False: the name is empty, or an output's.
    bool setNamedInput(const char* in_szName, const DoubleVector& in_vInput);

private:
    friend class boost::serialization::access;
    template <class ArchiveT>
    void serialize(ArchiveT& io_archive, unsigned int in_uiVersion);

    SignalFeaturePool m_pool;
    std::unique_ptr<FeatureGraph> m_pGraph;
};

/// The computer that this archive began to fill last; null before. Boost forgets an object when reading into it fails:
/// whoever loads a computer through a pointer finds it here then, and deletes it.
CORVANA_API FeatureComputerImpl*& computerUnderLoad(boost::archive::polymorphic_iarchive& inout_archive);

/// The same with named inputs.
class CORVANA_API FeatureComputerWithInputsImpl : public FeatureComputerImpl, public virtual FeatureComputerWithInputs
{
public:
    FeatureComputerWithInputsImpl();
    ~FeatureComputerWithInputsImpl() override;

    /// Copies an input. False: the name is empty, or an output's.
    bool setInput(const char* in_szName, const DoubleVector& in_vInput) override;
};

} // namespace Corvana::Math
