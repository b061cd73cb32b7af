"""How each rival is asked for the workload: its input files, and its command line."""
import os
import struct

from notes import SESSION_RATE


def make_csound(notes, folder, out):
    """diskin2 with linear interpolation, starting on the frame."""
    path = os.path.join(folder, "csound.csd")
    with open(path, "w") as f:
        f.write(f"""<CsoundSynthesizer>
<CsInstruments>
sr = {SESSION_RATE}
ksmps = 64
nchnls = 2
0dbfs = 1
instr 1
a1 diskin2 p4, p5, 0, 0, 0, 2
outs a1 * p6, a1 * p7
endin
instr 2
a1, a2 diskin2 p4, p5, 0, 0, 0, 2
outs a1 * p6, a2 * p7
endin
</CsInstruments>
<CsScore>
""")
        for note in notes:
            f.write(f'i {note.channels} {(note.frame + 0.25) / SESSION_RATE:.12f} '
                    f'{note.frames / SESSION_RATE:.12f} "{note.path}" {note.speed!r} '
                    f'{note.left!r} {note.right!r}\n')
        f.write("e\n</CsScore>\n</CsoundSynthesizer>\n")
    return ["csound", "-d", "-m0", "-W", "-f", "--sample-accurate", "-o", out, path]


def pack_string(text):
    return struct.pack("B", len(text)) + text.encode()


def make_synthdef(name, channels):
    """A binary SynthDef: OffsetOut(0, BufRd(buf, Sweep(0, speed), 0, 2) * [left, right])."""
    params = ["buf", "speed", "left", "right"]
    constants = [0.0, 2.0]
    zero, linear = (-1, 0), (-1, 1)
    read = [(2, 0), (2, channels - 1)]
    scalar, audio, multiply = 0, 2, 2
    ugens = [("Control", scalar, [], 4, 0),
             ("Sweep", audio, [zero, (0, 1)], 1, 0),
             ("BufRd", audio, [(0, 0), (1, 0), zero, linear], channels, 0),
             ("BinaryOpUGen", audio, [read[0], (0, 2)], 1, multiply),
             ("BinaryOpUGen", audio, [read[1], (0, 3)], 1, multiply),
             ("OffsetOut", audio, [zero, (3, 0), (4, 0)], 0, 0)]
    data = b"SCgf" + struct.pack(">ih", 2, 1) + pack_string(name)
    data += struct.pack(">i2f", len(constants), *constants)
    data += struct.pack(">i4f", len(params), *[0.0] * len(params))
    data += struct.pack(">i", len(params))
    data += b"".join(pack_string(param) + struct.pack(">i", index)
                     for index, param in enumerate(params))
    data += struct.pack(">i", len(ugens))
    for kind, rate, inputs, outputs, special in ugens:
        data += pack_string(kind) + struct.pack(">biih", rate, len(inputs), outputs, special)
        data += b"".join(struct.pack(">ii", *source) for source in inputs)
        data += struct.pack("b", rate) * outputs
    return data + struct.pack(">h", 0)


def pack_osc(address, *args):
    def pad(data):
        return data + b"\0" * (4 - len(data) % 4)
    tags, data = ",", b""
    for arg in args:
        if isinstance(arg, str):
            tags, data = tags + "s", data + pad(arg.encode())
        elif isinstance(arg, bytes):
            tags, data = tags + "b", data + struct.pack(">i", len(arg)) + arg + b"\0" * (-len(arg) % 4)
        elif isinstance(arg, int):
            tags, data = tags + "i", data + struct.pack(">i", arg)
        else:
            tags, data = tags + "f", data + struct.pack(">f", arg)
    return pad(address.encode()) + pad(tags.encode()) + data


def make_supercollider(notes, folder, out):
    """BufRd with linear interpolation; all samples in memory, with a silent frame behind each."""
    bundles = [(0, pack_osc("/d_recv", make_synthdef("note1", 1))),
               (0, pack_osc("/d_recv", make_synthdef("note2", 2)))]
    buffers = {}
    for note in notes:
        if note.path not in buffers:
            index = buffers[note.path] = len(buffers)
            bundles.append((0, pack_osc("/b_alloc", index, note.sample_frames + 1, note.channels)))
            bundles.append((0, pack_osc("/b_read", index, note.path)))
    for index, note in enumerate(notes):
        bundles.append((note.frame + 0.5, pack_osc(
            "/s_new", f"note{note.channels}", 1000 + index, 0, 0, "buf", buffers[note.path],
            "speed", note.step * SESSION_RATE, "left", note.left, "right", note.right)))
        bundles.append((note.frame + note.frames + 128, pack_osc("/n_free", 1000 + index)))
    end = max(note.frame + note.frames for note in notes)
    bundles.append((end + 256, pack_osc("/c_set", 0, 0)))
    path = os.path.join(folder, "supercollider.osc")
    with open(path, "wb") as f:
        for frame, message in sorted(bundles, key=lambda bundle: bundle[0]):
            bundle = b"#bundle\0" + struct.pack(">Q", int(frame / SESSION_RATE * 2 ** 32))
            bundle += struct.pack(">i", len(message)) + message
            f.write(struct.pack(">i", len(bundle)) + bundle)
    return ["scsynth", "-N", path, "_", out, str(SESSION_RATE), "WAV", "float", "-i", "0", "-o", "2"]


def make_ffmpeg(notes, folder, out):
    """A chain of filters a note, and one mixer."""
    paths = sorted({note.path for note in notes})
    chains = [f"amovie={path},asplit={sum(1 for note in notes if note.path == path)}" +
              "".join(f"[s{i}]" for i, note in enumerate(notes) if note.path == path)
              for path in paths]
    for index, note in enumerate(notes):
        chains.append(
            f"[s{index}]asetrate={note.sample_rate * note.speed:.0f},"
            f"aresample={SESSION_RATE},"
            f"pan=stereo|c0={note.left}*c0|c1={note.right}*c{note.channels - 1},"
            f"adelay={note.frame}S:all=1[n{index}]")
    chains.append("".join(f"[n{index}]" for index in range(len(notes))) +
                  f"amix=inputs={len(notes)}:normalize=0:dropout_transition=0[mix]")
    path = os.path.join(folder, "ffmpeg.txt")
    with open(path, "w") as f:
        f.write(";\n".join(chains))
    return ["ffmpeg", "-nostdin", "-v", "error", "-y", "-filter_complex_threads", "1",
            "-filter_complex_script", path, "-map", "[mix]", "-c:a", "pcm_f32le", out]


def make_sox(notes, folder, out):
    """A pipe from a sox of its own a note, into one that mixes."""
    command = ["sox", "-m"]
    for note in notes:
        command += ["-v", "1", f"|sox {note.path} -e floating-point -b 32 -p speed {note.speed!r} "
                    f"rate -q {SESSION_RATE} remix 1v{note.left} {note.channels}v{note.right} "
                    f"pad {note.frame}s"]
    return command + ["-e", "floating-point", "-b", "32", out]


def make_ecasound(notes, folder, out):
    """A chain a note; the pitch comes from a false rate of the sample."""
    command = ["ecasound", "-q", "-f:f32_le,2," + str(SESSION_RATE)]
    names = []
    for index, note in enumerate(notes):
        names.append(f"n{index}")
        source = f"resample-lq,{note.sample_rate * note.speed:.0f},{note.path}"
        command += [f"-a:n{index}", "-i", f"playat,{note.frame / SESSION_RATE:.9f},{source}"]
        if note.channels == 1:
            command.append("-chcopy:1,2")
        command += [f"-eac:{note.left * 100},1", f"-eac:{note.right * 100},2"]
    end = max(note.frame + note.frames for note in notes) / SESSION_RATE
    return command + ["-a:" + ",".join(names), "-o", out, f"-t:{end:.3f}"]


FULL = {"csound, diskin2": make_csound, "SuperCollider, BufRd": make_supercollider}

# What they have to be compared with: none of them interpolates between two frames alone.
EXCERPT = {"ffmpeg": (make_ffmpeg, "ideal"), "sox": (make_sox, "ideal"),
           "ecasound": (make_ecasound, "ideal")}
