// The parameters that Tape declares.

#include "ulk/ace/baplug/ParamGlobPitchShift.h"
#include "ulk/ace/baplug/ParamGlobVol.h"
#include "ulk/ace/baplug/ParamSplId.h"
#include "ulk/ace/baplug/ParamSplOut.h"
#include "ulk/ace/baplug/ParamSplPan.h"
#include "ulk/ace/baplug/ParamSplPitch.h"
#include "ulk/ace/baplug/ParamSplPos.h"
#include "ulk/ace/baplug/ParamSplTimeStretch.h"
#include "ulk/ace/baplug/ParamSplVol.h"
#include "ulk/ace/baplug/Tape.h"

namespace ulk::ace::baplug {

void Tape::init_params() {
    prout::ParamAdder adder_glob;
    adder_glob.set_desc_list(_param_desc_glob);
    init_param_glob_vol(adder_glob);
    init_param_glob_pitch_shift(adder_glob);
    _param_desc_glob.copy_to_desc(_desc.use_param_list(), kryn::ParamScope_GLOBAL);

    prout::ParamAdder adder_note;
    adder_note.set_desc_list(_param_desc_note);
    init_param_note_id(adder_note);
    init_param_note_pos(adder_note);
    init_param_note_out(adder_note);
    init_param_note_vol(adder_note);
    init_param_note_pitch(adder_note);
    init_param_note_timestretch(adder_note);
    init_param_note_pan(adder_note);
    _param_desc_note.copy_to_desc(_desc.use_param_list(), kryn::ParamScope_NOTE);
}

void Tape::init_param_glob_vol(prout::ParamAdder& adder) {
    adder.add_param(mem::SharedPtr<ParamGlobVol>::make(), Param_VOL,
                    ParamGlobVol::get_direct_default_norm_val());
}

void Tape::init_param_glob_pitch_shift(prout::ParamAdder& adder) {
    adder.add_param(mem::SharedPtr<ParamGlobPitchShift>::make(), Param_PITCH_SHIFT, 0);
}

void Tape::init_param_note_id(prout::ParamAdder& adder) {
    adder.add_param(mem::SharedPtr<ParamSplId>::make(), TapeSpl::Param_ID, 0);
}

void Tape::init_param_note_pos(prout::ParamAdder& adder) {
    adder.add_param(mem::SharedPtr<ParamSplPos>::make(), TapeSpl::Param_POS, 0);
}

void Tape::init_param_note_out(prout::ParamAdder& adder) {
    adder.add_param(mem::SharedPtr<ParamSplOut>::make(), TapeSpl::Param_OUT, 0);
}

void Tape::init_param_note_vol(prout::ParamAdder& adder) {
    adder.add_param(mem::SharedPtr<ParamSplVol>::make(), TapeSpl::Param_VOL,
                    ParamSplVol::get_direct_default_norm_val());
}

void Tape::init_param_note_pitch(prout::ParamAdder& adder) {
    adder.add_param(mem::SharedPtr<ParamSplPitch>::make(), TapeSpl::Param_PITCH, 0);
}

void Tape::init_param_note_timestretch(prout::ParamAdder& adder) {
    adder.add_param(mem::SharedPtr<ParamSplTimeStretch>::make(), TapeSpl::Param_TIME_STRETCH, 0);
}

void Tape::init_param_note_pan(prout::ParamAdder& adder) {
    adder.add_param(mem::SharedPtr<ParamSplPan>::make(), TapeSpl::Param_PAN, 0);
}

} // namespace ulk::ace::baplug
