// A cubic spline of the loaded library through values on an even grid: what a front end wraps round the calls.
#pragma once

#include "library.h"
#include "nvo_ark/fitting.h"

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

class Spline {
public:
    // Through values that are evenly spaced between the two ends. `inner` holds the second (Default) or the first
    // derivatives (Hermite) at all points but the two ends; the other kinds find them by themselves.
    Spline(const Library& library, std::array<double, 2> ends, std::vector<double> values, std::int64_t type,
           std::vector<double> inner = {})
        : library(library), ends(ends), values(std::move(values)), inner(std::move(inner)),
          coefficients(4 * (this->values.size() - 1)) {
        check("NewTask1D", NVO_FIND(library, nvo_df_kernel_dNewTask1D)(
                               &task, static_cast<std::int64_t>(this->values.size()), this->ends.data(), DF_GRID_EVEN,
                               1, this->values.data(), DF_Y_DEFAULT, 0));
        const bool given = !this->inner.empty();
        check("EditPPSpline1D", NVO_FIND(library, nvo_df_kernel_dEditPPSpline1D)(
                                    task, 4, type, DF_BC_FREE_END, nullptr, given, given ? this->inner.data() : nullptr,
                                    coefficients.data(), DF_Y_DEFAULT));
        check("construction", constructor_of(library, type)(task, 0, 0, nullptr));
    }
    Spline(const Spline&) = delete; // the task refers to the members
    Spline& operator=(const Spline&) = delete;
    ~Spline() { end(); }

    // The derivative of that order, 0 for the value, at ascending sites.
    std::vector<double> at(const std::vector<double>& sites, std::size_t order) {
        std::array<std::int32_t, 4> orders{};
        orders.at(order) = 1;
        std::vector<double> results(sites.size());
        check("DFInterpolate1D", NVO_FIND(library, nvo_df_kernel_dDFInterpolate1D)(
                                     task, 1, 0, static_cast<std::int64_t>(sites.size()), sites.data(), DF_SITE_SORTED,
                                     4, orders.data(), nullptr, results.data(), 0, nullptr, nullptr, nullptr, nullptr,
                                     nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
        return results;
    }

    // From left[i] to right[i].
    std::vector<double> integrals(const std::vector<double>& left, const std::vector<double>& right) {
        std::vector<double> results(left.size());
        check("DFIntegrate1D", NVO_FIND(library, nvo_df_kernel_dDFIntegrate1D)(
                                   task, 0, static_cast<std::int64_t>(left.size()), left.data(), DF_SITE_FREE,
                                   right.data(), DF_SITE_FREE, nullptr, nullptr, results.data(), 0, nullptr, nullptr,
                                   nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
        return results;
    }

private:
    static auto constructor_of(const Library& library, std::int64_t type)
        -> decltype(NVO_FIND(library, nvo_df_kernel_dDFNaturalCubicSpline1D)) {
        switch (type) {
        case DF_TYPE_DEFAULT: return NVO_FIND(library, nvo_df_kernel_dDFDefaultCubicSpline1D);
        case DF_TYPE_NATURAL: return NVO_FIND(library, nvo_df_kernel_dDFNaturalCubicSpline1D);
        case DF_TYPE_HERMITE: return NVO_FIND(library, nvo_df_kernel_dDFHermiteCubicSpline1D);
        case DF_TYPE_BESSEL: return NVO_FIND(library, nvo_df_kernel_dDFBesselCubicSpline1D);
        case DF_TYPE_AKIMA: return NVO_FIND(library, nvo_df_kernel_dDFAkimaCubicSpline1D);
        case DF_TYPE_HYMAN: return NVO_FIND(library, nvo_df_kernel_dDFHymanCubicSpline1D);
        default: throw std::logic_error("no cubic spline has that type");
        }
    }
    void check(const char* call, std::int32_t status) {
        if (status == DF_ST_OK) return;
        end();
        throw std::runtime_error("the spline's " + std::string(call) + " gave the status " + std::to_string(status));
    }
    void end() {
        if (task) NVO_FIND(library, nvo_df_kernel_DeleteTask)(&task);
    }

    const Library& library;
    const std::array<double, 2> ends;
    const std::vector<double> values, inner;
    std::vector<double> coefficients;
    DFTask1D* task = nullptr;
};
