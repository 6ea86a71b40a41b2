/*
 * Loops over processing calls, each in the style of C and with the handles; a C program's record
 * holds the instance, as a handle does. same_instructions.py compares NAME_in_c and NAME_in_cpp.
 */
#include <earshot/earshot.hpp>

/* --- A field through the effect, with status words and with exceptions -------------------------*/

struct c_effect {
    hoa_effect_state *instance;
};

struct c_field {
    void *channels[4];
    hoa_effect_buffer buffer;
};

extern "C" u32 effect_in_c(c_effect &effect, s32 *field, s32 *turned, u32 blocks) {
    for (u32 k = 0; k < blocks; ++k, field += 256, turned += 256) {
        c_field in = {{field, field + 48000, field + 96000, field + 144000}, {256, 4, in.channels}};
        c_field out = {{turned, turned + 48000, turned + 96000, turned + 144000},
                       {256, 4, out.channels}};
        const u32 status =
            hoa_effect_process(effect.instance, HOA_EFFECT_OUT_TAG, &out.buffer, sizeof out.buffer,
                               HOA_EFFECT_IN_TAG, &in.buffer, sizeof in.buffer);
        if (status != EARSHOT_OK) return status;
    }
    return EARSHOT_OK;
}

extern "C" earshot::status effect_in_cpp(earshot::effect &effect, s32 *field, s32 *turned,
                                         u32 blocks) {
    for (u32 k = 0; k < blocks; ++k, field += 256, turned += 256) {
        const earshot::status status = effect.try_process(
            {{field, 256}, {field + 48000, 256}, {field + 96000, 256}, {field + 144000, 256}},
            {{turned, 256}, {turned + 48000, 256}, {turned + 96000, 256}, {turned + 144000, 256}});
        if (status != earshot::status::ok) return status;
    }
    return earshot::status::ok;
}

extern "C" void throwing_effect_in_c(c_effect &effect, s32 *field, u32 blocks) {
    for (u32 k = 0; k < blocks; ++k, field += 256) {
        c_field both = {{field, field + 48000, field + 96000, field + 144000},
                        {256, 4, both.channels}};
        const u32 status = hoa_effect_process(effect.instance, HOA_EFFECT_OUT_TAG, &both.buffer,
                                              sizeof both.buffer, HOA_EFFECT_IN_TAG, &both.buffer,
                                              sizeof both.buffer);
        if (status != EARSHOT_OK)
            earshot::detail::fail(earshot::status{status}, "hoa_effect_process");
    }
}

extern "C" void throwing_effect_in_cpp(earshot::effect &effect, s32 *field, u32 blocks) {
    for (u32 k = 0; k < blocks; ++k, field += 256) {
        const earshot::first_order<s32> both({field, 256}, {field + 48000, 256},
                                             {field + 96000, 256}, {field + 144000, 256});
        effect.process(both, both);
    }
}

/* --- Renderers ---------------------------------------------------------------------------------*/

struct c_renderer {
    earshot_binaural *instance;
};

extern "C" u32 renderer_in_c(c_renderer &renderer, const s32 *windows, s32 *ears, s32 *exponent,
                             u32 frames) {
    for (; frames > 0; --frames, windows += 512, ears += 192, ++exponent) {
        const s32 *const inputs[2] = {windows, windows + 256};
        const u32 status = earshot_binaural_process(renderer.instance, inputs, ears, exponent);
        if (status != EARSHOT_OK) return status;
    }
    return EARSHOT_OK;
}

extern "C" earshot::status renderer_in_cpp(earshot::renderer &renderer, const s32 *windows,
                                           s32 *ears, s32 *exponent, u32 frames) {
    for (; frames > 0; --frames, windows += 512, ears += 192, ++exponent) {
        const s32 *const inputs[2] = {windows, windows + 256};
        const earshot::status status = renderer.try_process(inputs, {ears, 192}, *exponent);
        if (status != earshot::status::ok) return status;
    }
    return earshot::status::ok;
}

struct c_front {
    hrtf_filt_front_instance *instance;
};
struct c_back {
    hrtf_filt_back_instance *instance;
    void *memory;
    u32 frame_length;
};

struct c_spectra {
    s32 ear[2][258];
    hrtf_ear_spectra record;
};

extern "C" u32 ends_in_c(c_front &front, c_back &back, const s32 *const *windows,
                         c_spectra &spectra, s32 *ears, u32 frames) {
    for (; frames > 0; --frames, windows += 2, ears += 192) {
        u32 status = hrtf_filt_front_process(front.instance, 129, &spectra.record, 256, windows);
        if (status != EARSHOT_OK) return status;
        const hrtf_ear_outputs outputs = {{ears, ears + 96}};
        status = hrtf_filt_back_process(back.instance, back.frame_length, &outputs, 129,
                                        &spectra.record);
        if (status != EARSHOT_OK) return status;
    }
    return EARSHOT_OK;
}

extern "C" earshot::status ends_in_cpp(earshot::front_end &front, earshot::back_end &back,
                                       const s32 *const *windows, earshot::ear_spectra &spectra,
                                       s32 *ears, u32 frames) {
    for (; frames > 0; --frames, windows += 2, ears += 192) {
        earshot::status status = front.try_process({windows, 2}, spectra);
        if (status != earshot::status::ok) return status;
        status = back.try_process(spectra, {ears, 96}, {ears + 96, 96});
        if (status != earshot::status::ok) return status;
    }
    return earshot::status::ok;
}

/* --- Fields, transforms, filters ---------------------------------------------------------------*/

extern "C" u32 field_in_c(const earshot_field_rotation *rotations, s32 *const *channels,
                          u64 &clipped, u32 blocks) {
    for (u32 k = 0; k < blocks; ++k) {
        const u32 status = earshot_field_rotate(&rotations[k], &rotations[k + 1], 96, 0, 96,
                                                channels + 16 * k, &clipped);
        if (status != EARSHOT_OK) return status;
    }
    return EARSHOT_OK;
}

extern "C" earshot::status field_in_cpp(const earshot::field_rotation *rotations,
                                        s32 *const *channels, u64 &clipped, u32 blocks) {
    for (u32 k = 0; k < blocks; ++k) {
        const earshot::status status = earshot::try_rotate_field(rotations[k], rotations[k + 1], 96,
                                                                 {channels + 16 * k, 16}, clipped);
        if (status != earshot::status::ok) return status;
    }
    return earshot::status::ok;
}

struct c_transform {
    const s32 *twiddles;
    void *memory;
    s32 points;
};

extern "C" void transform_in_c(const c_transform &transform, const s32 *in, s32 *out, u32 count) {
    for (u32 k = 0; k < count; ++k)
        cmplxfft32x32(in + 256 * k, transform.points, transform.twiddles, out + 256 * k);
}

extern "C" void transform_in_cpp(const earshot::complex_transform &transform, const s32 *in,
                                 s32 *out, u32 count) {
    for (u32 k = 0; k < count; ++k) transform.forward({in + 256 * k, 256}, {out + 256 * k, 256});
}

struct c_biquad {
    s64 *state;
    void *memory;
    const s32 *coefs;
    s32 sections, shift;
};

extern "C" void biquad_in_c(c_biquad &filter, const s32 *in, s32 *out, u32 blocks) {
    for (u32 k = 0; k < blocks; ++k)
        iirTDF2_32(in + 64 * k, out + 64 * k, 64, filter.coefs, filter.state, filter.sections,
                   filter.shift);
}

extern "C" void biquad_in_cpp(earshot::biquad &filter, const s32 *in, s32 *out, u32 blocks) {
    for (u32 k = 0; k < blocks; ++k) filter.process({in + 64 * k, 64}, {out + 64 * k, 64});
}

/* --- A check more than in C, which the comparison has to find ----------------------------------*/

extern "C" u32 one_more_check_in_c(c_renderer &renderer, const s32 *const *windows, s32 *ears,
                                   s32 *exponent) {
    return earshot_binaural_process(renderer.instance, windows, ears, exponent);
}

extern "C" earshot::status one_more_check_in_cpp(earshot::renderer &renderer,
                                                 const s32 *const *windows, s32 *ears,
                                                 s32 *exponent) {
    if (renderer.sources() != 2) return earshot::status::bad_value;
    return renderer.try_process({windows, 2}, {ears, 192}, *exponent);
}
