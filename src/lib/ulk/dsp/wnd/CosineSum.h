#pragma once

#include "ulk/dsp/wnd/WndInterface.h"

namespace ulk::dsp::wnd {

// Sum of cosines with the coefficients of H.-H. Albrecht, "A family of cosine-sum windows for
// high-resolution measurements", ICASSP 2001. The phase runs from 0 to 2 pi / (nbr_spl - 1) only:
// the window is the head of the textbook's one, stretched, and is not symmetric. A length of 1
// gives no number.
class CosineSum : public WndInterface {
public:
    static constexpr int MAX_ORDER = 10;

    // From 1 to MAX_ORDER: as many cosines, above a constant. Not checked.
    explicit CosineSum(int order);
    void set_order(int order);

protected:
    void do_make_win(double* data, long nbr_spl) override;

private:
    struct Info {
        int nbr_coefs;
        double figure_arr[6]; // description of the window, for reference
        double coef_arr[MAX_ORDER + 1];
    };
    static Info const _info_arr[MAX_ORDER]; // from order 1 on

    int _order;
};

} // namespace ulk::dsp::wnd
