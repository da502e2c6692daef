# SPDX-License-Identifier: Apache-2.0
import pickle

import numpy as np
import pytest

import corvana


def test_evaluates_a_formula_over_arrays_and_numbers():
    formula = corvana.Expression("a * x + 1")
    assert formula.variables == ["a", "x"]
    assert (formula(x=np.arange(3.0), a=2) == [1, 3, 5]).all()
    assert (formula.evaluate(x=np.arange(2.0)) == [1, 3]).all() # a keeps its value


def test_gives_the_bits_of_the_feature(call):
    window = next(iter(corvana.windows(call)))
    assert corvana.Expression("flatness(spectrum(x))")(x=window) == corvana.FeatureComputer(
        ["spectrum|flatness"]
    ).compute(window)


def test_keeps_values_that_were_handed_out():
    formula = corvana.Expression("x + 1")
    first = formula(x=np.zeros(3))
    formula(x=np.ones(3))
    assert (first == 1).all()


@pytest.mark.parametrize(
    ("formula", "message"),
    [
        ("flatness(spectrm(x))", 'unknown function "spectrm", did you mean "spectrum"'),
        ("1 +", "at column 4"),
        ("x\0y", "null character"),
    ],
)
def test_explains_what_is_wrong_with_a_formula(formula, message):
    with pytest.raises(corvana.Error, match=message):
        corvana.Expression(formula)


def test_raises_what_the_library_says_about_values():
    with pytest.raises(corvana.Error, match="no variable 'y'"):
        corvana.Expression("x")(y=1)
    with pytest.raises(corvana.Error, match="x"):
        corvana.Expression("x + 1")()
    with pytest.raises(corvana.Error):
        corvana.Expression("x + y")(x=np.zeros(2), y=np.zeros(3))


def test_raises_where_only_the_log_tells_that_values_mean_nothing():
    with pytest.raises(corvana.Error, match="isPowerOfTwo"):
        corvana.Expression("spectrum(x)")(x=np.zeros(100))
    with pytest.raises(corvana.Error, match="isPowerOfTwo"):
        corvana.FeatureComputer(["spectrum"]).compute(np.zeros(100))


def test_is_configured_by_parameters(call):
    spectrum = corvana.FeatureComputer(["spectrum"]).compute(next(iter(corvana.windows(call))))
    named = corvana.Expression("spectralRange(s)", {"frequencyHz": 1000, "widthHz": 100})
    written = corvana.Expression("spectralRange(s, frequencyHz=1000, widthHz=100)")
    assert (named(s=spectrum) == written(s=spectrum)).all()
    assert "frequencyHz" in " ".join(named.parameter_names)


def test_is_pickled_by_text_and_parameters(call):
    spectrum = corvana.FeatureComputer(["spectrum"]).compute(next(iter(corvana.windows(call))))
    formula = corvana.Expression("spectralRange(s)", {"frequencyHz": 1000, "widthHz": 100})
    again = pickle.loads(pickle.dumps(formula))
    assert str(again) == str(formula) == formula.text
    assert (again(s=spectrum) == formula(s=spectrum)).all()
    assert repr(formula) == "corvana.Expression('spectralRange(s)')"
