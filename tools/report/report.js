"use strict";
// The page of `corvana report`. All texts from recordings reach the page as text nodes or canvas texts, never as HTML.
(() => {
  const LEFT = 72;
  const RIGHT = 64;
  const LANE = 18;
  const MAX_LANES = 24;
  const MAX_ROWS = 5000; // longer tables make browsers slow
  const COLOURS = ["#0072b2", "#d55e00", "#009e73", "#cc79a7", "#e69f00", "#56b4e9"];
  const byId = (id) => document.getElementById(id);
  const recordings = [...document.querySelectorAll("script.recording")].map((node) => JSON.parse(node.textContent));
  const colour = (name) => getComputedStyle(document.documentElement).getPropertyValue("--" + name).trim();
  const clamp = (value, low, high) => Math.min(high, Math.max(low, value));

  const bytesOf = (base64) => {
    const text = atob(base64);
    const bytes = new Uint8Array(text.length);
    for (let at = 0; at < text.length; ++at) bytes[at] = text.charCodeAt(at);
    return bytes;
  };

  const timeText = (seconds, digits) => {
    const rounded = Number(seconds.toFixed(digits));
    const minutes = Math.floor(rounded / 60);
    const rest = (rounded - minutes * 60).toFixed(digits).padStart(digits > 0 ? digits + 3 : 2, "0");
    if (minutes < 60) return `${minutes}:${rest}`;
    return `${Math.floor(minutes / 60)}:${String(minutes % 60).padStart(2, "0")}:${rest}`;
  };

  // Round values, 1, 2 or 5 times a power of ten apart, at most so many.
  const roundTicks = (low, high, most) => {
    if (!(low < high)) return [];
    let power = Math.floor(Math.log10((high - low) / most));
    for (; ; ++power)
      for (const digit of [1, 2, 5]) {
        const values = [];
        const unit = (n) => (power < 0 ? (n * digit) / 10 ** -power : n * digit * 10 ** power);
        for (let n = Math.ceil(low / unit(1) - 1e-9); unit(n) <= high + unit(1) * 1e-9; ++n) {
          values.push({ value: unit(n), text: unit(n).toFixed(Math.max(0, Math.min(12, -power))) });
          if (values.length > most) break;
        }
        if (values.length <= most) return values;
      }
  };

  const timeTicks = (from, to, width) => {
    const steps = [];
    for (let power = -5; power < 1; ++power) for (const digit of [1, 2, 5]) steps.push([digit * 10 ** power, Math.max(0, -power)]);
    for (const step of [10, 15, 20, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 10800, 21600, 43200, 86400]) steps.push([step, 0]);
    const [step, digits] = steps.find(([size]) => (size / (to - from)) * width >= 84) || steps[steps.length - 1];
    const ticks = [];
    for (let n = Math.ceil(from / step - 1e-9); n * step <= to + step * 1e-9; ++n) ticks.push({ value: n * step, text: timeText(n * step, digits) });
    return ticks;
  };

  // The sound of a recording: 16 bits a sample, as a file for the player and as numbers for the picture.
  const loadSound = (index, rate) => {
    const nodes = document.querySelectorAll(`script.audio[data-recording="${index}"]`);
    if (nodes.length === 0) return null;
    const parts = [...nodes].map((node) => bytesOf(node.textContent));
    const size = parts.reduce((sum, part) => sum + part.length, 0);
    const header = new DataView(new ArrayBuffer(44));
    const word = (at, text) => [...text].forEach((letter, offset) => header.setUint8(at + offset, letter.charCodeAt(0)));
    word(0, "RIFF"); header.setUint32(4, 36 + size, true); word(8, "WAVEfmt "); header.setUint32(16, 16, true);
    header.setUint16(20, 1, true); header.setUint16(22, 1, true); header.setUint32(24, rate, true);
    header.setUint32(28, rate * 2, true); header.setUint16(32, 2, true); header.setUint16(34, 16, true);
    word(36, "data"); header.setUint32(40, size, true);
    const all = new Uint8Array(size);
    let at = 0;
    for (const part of parts) { all.set(part, at); at += part.length; }
    return { url: URL.createObjectURL(new Blob([header.buffer, all], { type: "audio/wav" })), samples: new Int16Array(all.buffer) };
  };

  const loadImage = (base64) => {
    const image = new Image();
    image.src = "data:image/png;base64," + base64;
    return image;
  };

  const unpack = (recording, index) => {
    if (recording.ready) return recording.ready;
    const wave = new Int16Array(bytesOf(recording.waveform).buffer);
    const ready = { wave, sound: loadSound(index, recording.rate), tiles: recording.spectrogram.tiles.map(loadImage), shown: [] };
    ready.curves = recording.curves.map((curve) => ({
      ...curve,
      shown: true,
      lines: (curve.lines || []).map((line) => new Float32Array(bytesOf(line).buffer)),
      tiles: (curve.tiles || []).map(loadImage),
    }));
    recording.ready = ready;
    return ready;
  };

  const state = { index: -1, from: 0, to: 1, cursor: 0, region: -1 };
  const player = byId("player");
  const tracks = byId("tracks");
  const canvas = byId("picture");
  const context = canvas.getContext("2d");
  let layout = null;

  const current = () => recordings[state.index];
  const width = () => Math.max(1, canvas.clientWidth - LEFT - RIGHT);
  const placeOf = (seconds) => LEFT + ((seconds - state.from) / (state.to - state.from)) * width();
  const timeAt = (x) => state.from + ((x - LEFT) / width()) * (state.to - state.from);

  // Regions in lanes by who says so; texts stand inside or behind their boxes and never overlap.
  const layOutRegions = () => {
    const sources = new Map();
    const inView = current().regions.map((region, index) => ({ ...region, index }))
      .filter((region) => region.start < state.to && (region.stop > state.from || region.start >= state.from)).sort((a, b) => a.start - b.start);
    for (const region of inView) {
      if (!sources.has(region.rank)) sources.set(region.rank, { name: region.source, colour: region.colour, lanes: [], rank: region.rank });
      const source = sources.get(region.rank);
      const left = clamp(placeOf(region.start), LEFT, LEFT + width() - 3);
      const right = clamp(placeOf(region.stop), left + 3, LEFT + width());
      const size = context.measureText(region.label).width;
      const inside = size <= right - left - 6;
      const end = inside ? right : Math.max(right, right + 3 + size + 3 <= LEFT + width() ? right + size + 6 : right);
      const lanes = source.lanes;
      let lane = lanes.find((other) => other.end <= left + 0.01);
      const share = Math.max(2, Math.floor(MAX_LANES / 3));
      if (!lane && lanes.length < share) { lane = { end: 0, boxEnd: 0, boxes: [] }; lanes.push(lane); }
      let covered = false;
      if (!lane) {
        lane = lanes.reduce((a, b) => (b.boxEnd < a.boxEnd ? b : a));
        const last = lane.boxes[lane.boxes.length - 1];
        if (last && !last.inside) last.text = "";
        covered = lane.boxEnd > left;
      }
      const text = !covered && (inside || end > right) ? region.label : "";
      lane.boxes.push({ region, left, right, inside, text, textLeft: inside ? left + 3 : right + 3 });
      lane.end = Math.max(lane.end, end);
      lane.boxEnd = Math.max(lane.boxEnd, right);
    }
    return [...sources.values()].sort((a, b) => a.rank - b.rank);
  };

  const frame = (top, height) => {
    context.strokeStyle = colour("line");
    context.lineWidth = 1;
    context.strokeRect(LEFT + 0.5, top + 0.5, width() - 1, height - 1);
  };

  const label = (text, x, y, align) => {
    context.textAlign = align;
    context.fillStyle = colour("ink");
    context.fillText(text, x, y);
  };

  const grid = (top, height) => {
    context.fillStyle = colour("grid");
    for (const tick of timeTicks(state.from, state.to, width())) context.fillRect(Math.floor(placeOf(tick.value)), top, 1, height);
  };

  const valueAxis = (top, height, low, high, ticks, unit) => {
    ticks.forEach((tick, index) => {
      const y = clamp(top + height - ((tick.value - low) / (high - low)) * height, top + 5, top + height - 4);
      label(tick.text + (unit && index === ticks.length - 1 ? unit : ""), LEFT - 6, y + 4, "right");
    });
  };

  const drawWaveform = (ready, top, height) => {
    grid(top, height);
    const cells = ready.wave.length / 3;
    const perSecond = cells / current().seconds;
    const range = Math.max(1e-4, current().range) * 1.06 * 32768;
    const yOf = (value) => top + height / 2 - (value / range) * (height / 2);
    const samples = ready.sound && ready.sound.samples;
    const fine = samples && perSecond * (state.to - state.from) < width() * 1.5;
    context.save();
    context.beginPath();
    context.rect(LEFT, top, width(), height);
    context.clip();
    if (fine && (state.to - state.from) * current().rate < width()) {
      context.strokeStyle = colour("loudness");
      context.beginPath();
      const last = Math.min(samples.length - 1, Math.ceil(state.to * current().rate));
      for (let at = Math.max(0, Math.floor(state.from * current().rate)); at <= last; ++at) context.lineTo(placeOf((at + 0.5) / current().rate), yOf(samples[at]));
      context.stroke();
    } else {
      const clip = current().clip * 32768;
      const waveColour = colour("wave"), loudnessColour = colour("loudness"), clippedColour = colour("clipped");
      let lastLow = -Infinity, lastHigh = Infinity;
      for (let x = 0; x < width(); ++x) {
        const begin = timeAt(LEFT + x), end = timeAt(LEFT + x + 1);
        let low = Infinity, high = -Infinity, rms = 0, count = 0;
        if (fine) {
          const last = Math.min(samples.length, Math.ceil(end * current().rate) + 1);
          for (let at = Math.max(0, Math.floor(begin * current().rate)); at < last; ++at, ++count) {
            low = Math.min(low, samples[at]); high = Math.max(high, samples[at]); rms += samples[at] * samples[at];
          }
          rms = Math.sqrt(rms / Math.max(1, count));
        } else {
          const last = Math.min(cells, Math.max(Math.floor(begin * perSecond) + 1, Math.floor(end * perSecond)));
          for (let cell = Math.floor(begin * perSecond); cell < last; ++cell) {
            low = Math.min(low, ready.wave[cell * 3]); high = Math.max(high, ready.wave[cell * 3 + 1]); rms = Math.max(rms, ready.wave[cell * 3 + 2]);
          }
        }
        if (low > high) continue;
        const clipped = high >= clip - 1 || low <= -clip + 1;
        // To the neighbour before, as the signal does.
        const reachLow = Math.min(low, lastHigh), reachHigh = Math.max(high, lastLow);
        lastLow = low;
        lastHigh = high;
        context.fillStyle = clipped ? clippedColour : waveColour;
        context.fillRect(LEFT + x, yOf(reachHigh) - 0.5, 1, yOf(reachLow) - yOf(reachHigh) + 1);
        if (clipped || (fine && count < 8)) continue; // the mean of a few samples is none
        context.fillStyle = loudnessColour;
        context.fillRect(LEFT + x, yOf(Math.min(rms, high)), 1, Math.max(0, yOf(Math.max(-rms, low)) - yOf(Math.min(rms, high))));
      }
    }
    context.restore();
    valueAxis(top, height, -range / 32768, range / 32768, roundTicks(-range / 32768, range / 32768, 5));
    frame(top, height);
  };

  // Tiles stand side by side over the whole recording. A bin's place is that of its frequency, not of its pixel's middle.
  const drawTiles = (tiles, columns, top, height, shift, smooth) => {
    context.save();
    context.beginPath();
    context.rect(LEFT, top, width(), height);
    context.clip();
    context.fillStyle = "#000004";
    context.fillRect(LEFT, top, width(), height);
    context.imageSmoothingEnabled = smooth;
    let column = 0;
    for (const tile of tiles) {
      if (!tile.complete) tile.onload = draw;
      const left = placeOf((column / columns) * current().seconds);
      column += tile.naturalWidth;
      const right = placeOf((column / columns) * current().seconds);
      if (tile.complete && tile.naturalWidth > 0 && right > LEFT && left < LEFT + width()) context.drawImage(tile, left, top + shift * height, right - left, height);
    }
    context.restore();
    frame(top, height);
  };

  // From real samples to the powers of size / 2 frequencies, in proportion to that of a full-scale tone.
  const makeTransform = (size) => {
    const taper = Float64Array.from({ length: size }, (_, at) => 0.5 - 0.5 * Math.cos((2 * Math.PI * at) / (size - 1)));
    const full = (taper.reduce((sum, value) => sum + value, 0) / 2) ** 2;
    const cosines = Float64Array.from({ length: size / 2 }, (_, at) => Math.cos((2 * Math.PI * at) / size));
    const sines = Float64Array.from({ length: size / 2 }, (_, at) => -Math.sin((2 * Math.PI * at) / size));
    const bits = Math.log2(size);
    const reversed = Uint32Array.from({ length: size }, (_, at) => {
      let turned = 0;
      for (let bit = 0; bit < bits; ++bit) turned |= ((at >> bit) & 1) << (bits - 1 - bit);
      return turned;
    });
    const real = new Float64Array(size), imaginary = new Float64Array(size), powers = new Float64Array(size / 2);
    return (samples, first) => {
      for (let at = 0; at < size; ++at) {
        const sample = samples[first + at]; // nothing outside the recording
        real[reversed[at]] = sample === undefined ? 0 : (sample / 32768) * taper[at];
      }
      imaginary.fill(0);
      for (let half = 1; half < size; half *= 2)
        for (let block = 0; block < size; block += 2 * half)
          for (let at = 0, step = size / half / 2; at < half; ++at) {
            const low = block + at, high = low + half, c = cosines[at * step], s = sines[at * step];
            const r = real[high] * c - imaginary[high] * s, i = real[high] * s + imaginary[high] * c;
            real[high] = real[low] - r; imaginary[high] = imaginary[low] - i;
            real[low] += r; imaginary[low] += i;
          }
      for (let bin = 0; bin < size / 2; ++bin) powers[bin] = (real[bin] * real[bin] + imaginary[bin] * imaginary[bin]) / full;
      return powers;
    };
  };

  // Where the tiles are too coarse, from the sound itself: a window around the middle of each column of pixels. Shorter
  // windows for shorter stretches, as the command takes them.
  const drawFineSpectrogram = (samples, top, height) => {
    const { low, high, scale } = current().spectrogram;
    const span = (state.to - state.from) * current().rate;
    const usual = 2 ** Math.round(Math.log2(0.032 * current().rate));
    const size = clamp(Math.min(usual, 2 ** Math.floor(Math.log2(Math.max(1, span / 8)))), 16, 8192);
    const transform = makeTransform(size);
    const columns = Math.round(width()), rows = size / 2;
    const image = new ImageData(columns, rows);
    const colours = scale.map((text) => [1, 3, 5].map((at) => parseInt(text.slice(at, at + 2), 16)));
    for (let x = 0; x < columns; ++x) {
      const powers = transform(samples, Math.round((state.from + ((x + 0.5) / columns) * (state.to - state.from)) * current().rate) - size / 2);
      for (let bin = 0; bin < rows; ++bin) {
        const share = ((10 * Math.log10(powers[bin] + 1e-30) - low) / (high - low)) * (colours.length - 1);
        const place = clamp(share, 0, colours.length - 1), below = Math.floor(place), above = Math.min(below + 1, colours.length - 1);
        const at = ((rows - 1 - bin) * columns + x) * 4;
        for (let part = 0; part < 3; ++part) image.data[at + part] = colours[below][part] + (colours[above][part] - colours[below][part]) * (place - below);
        image.data[at + 3] = 255;
      }
    }
    const sheet = document.createElement("canvas");
    sheet.width = columns;
    sheet.height = rows;
    sheet.getContext("2d").putImageData(image, 0, 0);
    context.save();
    context.beginPath();
    context.rect(LEFT, top, width(), height);
    context.clip();
    context.fillStyle = scale[0];
    context.fillRect(LEFT, top, width(), height);
    context.imageSmoothingEnabled = true;
    context.drawImage(sheet, LEFT, top + (0.5 / rows) * height, width(), height);
    context.restore();
    frame(top, height);
  };

  const drawSpectrogram = (ready, top, height) => {
    const columnsShown = ((state.to - state.from) / current().seconds) * current().spectrogram.columns;
    if (ready.sound && columnsShown < width() / 2 && current().spectrogram.columns < ready.sound.samples.length) drawFineSpectrogram(ready.sound.samples, top, height);
    else drawTiles(ready.tiles, current().spectrogram.columns, top, height, current().spectrogram.shift, true);
    valueAxis(top, height, 0, current().rate / 2, roundTicks(0, current().rate / 2, 9), " Hz");
    const { low, high, scale } = current().spectrogram;
    const left = LEFT + width() + 8;
    scale.forEach((step, index) => {
      context.fillStyle = step;
      context.fillRect(left, top + height - ((index + 1) / scale.length) * height, 10, height / scale.length + 1);
    });
    const ticks = roundTicks(low, high, 8);
    ticks.forEach((tick, index) => label(tick.text + (index === ticks.length - 1 ? " dB" : ""), left + 14,
      clamp(top + height - ((tick.value - low) / (high - low)) * height, top + 5, top + height - 4) + 4, "left"));
  };

  const drawRegions = (sources, top) => {
    layout.boxes = [];
    let lost = 0;
    for (const source of sources) {
      context.fillStyle = source.colour;
      context.fillRect(LEFT - 7, top + 1, 3, source.lanes.length * LANE - 2);
      label(source.name, LEFT - 11, top + LANE - 5, "right");
      source.lanes.forEach((lane, index) => {
        const y = top + index * LANE + 1;
        for (const box of lane.boxes) {
          context.globalAlpha = 0.45;
          context.fillStyle = source.colour;
          context.fillRect(box.left, y, box.right - box.left, LANE - 2);
          context.globalAlpha = 1;
          if (box.region.index === state.region) {
            context.strokeStyle = colour("ink");
            context.lineWidth = 2;
            context.strokeRect(box.left + 1, y + 1, box.right - box.left - 2, LANE - 4);
          }
          context.fillRect(box.left, y, 2, LANE - 2);
          layout.boxes.push({ left: box.left, right: Math.max(box.right, box.text ? box.textLeft : 0), top: y, bottom: y + LANE - 2, index: box.region.index });
        }
        for (const box of lane.boxes) {
          if (box.text) label(box.text, box.textLeft, y + LANE - 6, "left");
          else ++lost;
        }
      });
      top += source.lanes.length * LANE;
    }
    if (lost > 0) label(`${lost} texts left out: zoom in to see them`, LEFT + width(), top + 12, "right");
  };

  const drawCurve = (curve, top, height) => {
    context.font = "bold 12px 'DejaVu Sans', system-ui, sans-serif";
    const range = `, ${curve.values} values from ${Number(curve.min.toPrecision(3))} to ${Number(curve.max.toPrecision(3))}`;
    label(curve.name + (curve.tiles.length > 0 ? range : ""), LEFT, top - 4, "left");
    let x = LEFT + context.measureText(curve.name).width;
    if (curve.lines.length > 1) curve.lines.forEach((line, index) => {
      context.fillStyle = COLOURS[index];
      context.fillText(`  [${index}]`, x, top - 4);
      x += context.measureText(`  [${index}]`).width;
    });
    context.font = "12px 'DejaVu Sans', system-ui, sans-serif";
    if (curve.tiles.length > 0) {
      drawTiles(curve.tiles, curve.columns, top, height, 0, false);
      valueAxis(top, height, -0.5, curve.values - 0.5, roundTicks(0, curve.values - 1, 3).map((tick) => ({ ...tick, text: `[${tick.text}]` })));
      return;
    }
    grid(top, height);
    const room = (curve.max - curve.min) * 0.06 || Math.abs(curve.max) / 2 || 1;
    const low = curve.min - room, high = curve.max + room;
    context.save();
    context.beginPath();
    context.rect(LEFT, top, width(), height);
    context.clip();
    curve.lines.forEach((line, index) => {
      const step = current().seconds / line.length;
      const first = Math.max(0, Math.floor(state.from / step) - 200);
      const last = Math.min(line.length, Math.ceil(state.to / step) + 200);
      context.strokeStyle = COLOURS[index];
      context.lineWidth = 1.5;
      context.beginPath();
      let open = false;
      for (let cell = first; cell < last; ++cell) {
        const value = line[cell];
        if (value === Infinity) open = false;
        if (!Number.isFinite(value)) continue;
        const y = top + height - ((value - low) / (high - low)) * height;
        if (open) context.lineTo(placeOf((cell + 0.5) * step), y);
        else context.moveTo(placeOf((cell + 0.5) * step), y);
        open = true;
      }
      context.stroke();
    });
    context.restore();
    valueAxis(top, height, low, high, roundTicks(low, high, 4));
    frame(top, height);
  };

  const draw = () => {
    const ready = unpack(current(), state.index);
    context.font = "12px 'DejaVu Sans', system-ui, sans-serif";
    const sources = layOutRegions();
    const curves = ready.curves.filter((curve) => curve.shown);
    const lanes = sources.reduce((sum, source) => sum + source.lanes.length, 0);
    const heights = { wave: 120, spectrogram: 220, lanes: lanes * LANE + (lanes > 0 ? 22 : 0), curve: 80 };
    const height = heights.wave + 8 + heights.spectrogram + 8 + heights.lanes + curves.length * (heights.curve + 26) + 30;
    const ratio = window.devicePixelRatio || 1;
    canvas.style.height = height + "px";
    canvas.width = Math.round(canvas.clientWidth * ratio);
    canvas.height = Math.round(height * ratio);
    context.setTransform(ratio, 0, 0, ratio, 0, 0);
    context.font = "12px 'DejaVu Sans', system-ui, sans-serif";
    context.fillStyle = colour("ground");
    context.fillRect(0, 0, canvas.clientWidth, height);
    layout = { boxes: [] };
    let top = 1;
    drawWaveform(ready, top, heights.wave);
    top += heights.wave + 8;
    drawSpectrogram(ready, top, heights.spectrogram);
    top += heights.spectrogram + 8;
    drawRegions(sources, top);
    top += heights.lanes;
    for (const curve of curves) {
      drawCurve(curve, top + 18, heights.curve);
      top += heights.curve + 26;
    }
    for (const tick of timeTicks(state.from, state.to, width())) {
      context.fillStyle = colour("line");
      context.fillRect(Math.floor(placeOf(tick.value)), top, 1, 5);
      label(tick.text, placeOf(tick.value), top + 18, "center");
    }
    showCursor();
  };

  const showCursor = () => {
    const mark = byId("cursor");
    const inside = state.cursor >= state.from && state.cursor <= state.to;
    mark.hidden = !inside;
    mark.style.left = placeOf(state.cursor) + "px";
    byId("time").textContent = `${timeText(state.cursor, 2)} of ${timeText(current().seconds, 2)}`;
    tracks.setAttribute("aria-valuenow", state.cursor.toFixed(2));
    tracks.setAttribute("aria-valuetext", timeText(state.cursor, 2));
  };

  const show = (from, to) => {
    const seconds = current().seconds;
    const span = clamp(to - from, Math.min(seconds, 16 / current().rate), seconds);
    state.from = clamp(from, 0, seconds - span);
    state.to = state.from + span;
    const digits = clamp(Math.ceil(-Math.log10(span)) + 2, 2, 6);
    byId("view").textContent = `${timeText(state.from, digits)} to ${timeText(state.to, digits)}`;
    draw();
  };

  const zoom = (factor, middle) => {
    const share = (middle - state.from) / (state.to - state.from);
    const span = (state.to - state.from) / factor;
    show(middle - share * span, middle - share * span + span);
  };
  const zoomAtCursor = (factor) => zoom(factor, state.cursor >= state.from && state.cursor <= state.to ? state.cursor : (state.from + state.to) / 2);
  const pan = (share) => show(state.from + share * (state.to - state.from), state.to + share * (state.to - state.from));

  const follow = () => {
    const span = state.to - state.from;
    if (state.cursor < state.from || state.cursor > state.to) show(state.cursor - span * 0.1, state.cursor + span * 0.9);
    else showCursor();
  };

  const moveTo = (seconds) => {
    state.cursor = clamp(seconds, 0, current().seconds);
    if (player.src) player.currentTime = state.cursor;
    follow();
  };

  const markRegion = () => [...byId("regions").rows].forEach((row, index) => row.setAttribute("aria-current", String(index === state.region)));

  const goToRegion = (index) => {
    const region = current().regions[index];
    if (!region) return;
    state.region = index;
    markRegion();
    const span = Math.max(region.stop - region.start, 0.05);
    state.cursor = clamp(region.start, 0, current().seconds);
    if (player.src) player.currentTime = state.cursor;
    if (region.start < state.from || region.stop > state.to || span < (state.to - state.from) / 50) show(region.start - span * 0.5, region.stop + span * 0.5);
    else draw();
  };

  const tick = () => {
    if (player.paused) return;
    state.cursor = player.currentTime;
    follow();
    requestAnimationFrame(tick);
  };

  const togglePlay = () => {
    if (!player.src) return;
    if (player.paused) player.play();
    else player.pause();
  };

  const cell = (row, text, type) => {
    const node = row.insertCell();
    node.textContent = text;
    if (type) node.className = type;
    return node;
  };

  const fillRegions = () => {
    const body = byId("regions");
    body.replaceChildren();
    byId("regions-table").hidden = current().regions.length === 0;
    const more = current().regions.length - MAX_ROWS;
    byId("more").textContent = more > 0 ? `${more} more regions are in the lanes only` : "";
    current().regions.slice(0, MAX_ROWS).forEach((region, index) => {
      const row = body.insertRow();
      const button = document.createElement("button");
      const swatch = document.createElement("span");
      swatch.className = "swatch";
      swatch.style.background = region.colour;
      button.append(swatch, document.createTextNode(region.label));
      button.addEventListener("click", () => goToRegion(index));
      row.insertCell().append(button);
      cell(row, region.source);
      cell(row, timeText(region.start, 3), "number");
      cell(row, timeText(region.stop, 3), "number");
      cell(row, (region.stop - region.start).toFixed(3) + " s", "number");
    });
  };

  const fillCurves = (ready) => {
    const list = byId("curves");
    list.hidden = ready.curves.length === 0;
    list.querySelectorAll("label").forEach((node) => node.remove());
    for (const curve of ready.curves) {
      const box = document.createElement("input");
      box.type = "checkbox";
      box.checked = curve.shown;
      box.addEventListener("change", () => { curve.shown = box.checked; draw(); });
      const node = document.createElement("label");
      node.append(box, document.createTextNode(" " + curve.name));
      list.append(node);
    }
  };

  const open = (index) => {
    player.pause();
    state.index = index;
    const recording = current();
    const ready = unpack(recording, index);
    byId("name").textContent = recording.name;
    byId("facts").textContent = `${recording.rate} Hz, ${timeText(recording.seconds, 2)}, ${recording.regions.length} region${recording.regions.length === 1 ? "" : "s"} `;
    byId("clipped").textContent = recording.clipped > 0 ? `${recording.clipped} clipped sample${recording.clipped === 1 ? "" : "s"}` : "";
    if (ready.sound) player.src = ready.sound.url;
    else player.removeAttribute("src");
    byId("play").disabled = !ready.sound;
    byId("silent").hidden = Boolean(ready.sound);
    tracks.setAttribute("aria-valuemax", String(recording.seconds));
    tracks.setAttribute("aria-label", "Position in " + recording.name);
    [...byId("recordings").children].forEach((node, other) => node.setAttribute("aria-current", String(other === index)));
    state.cursor = 0;
    state.region = -1;
    fillRegions();
    fillCurves(ready);
    show(0, recording.seconds);
  };

  const keys = {
    " ": togglePlay,
    ArrowLeft: (event) => moveTo(state.cursor - (event.shiftKey ? 0.02 : 0.05) * (event.shiftKey ? 1 : state.to - state.from)),
    ArrowRight: (event) => moveTo(state.cursor + (event.shiftKey ? 0.02 : 0.05) * (event.shiftKey ? 1 : state.to - state.from)),
    Home: () => moveTo(0),
    End: () => moveTo(current().seconds),
    PageUp: () => pan(-0.8),
    PageDown: () => pan(0.8),
    "+": () => zoomAtCursor(2),
    "=": () => zoomAtCursor(2),
    "-": () => zoomAtCursor(0.5),
    "0": () => show(0, current().seconds),
    "]": () => goToRegion(Math.min(current().regions.length - 1, state.region + 1)),
    "[": () => goToRegion(Math.max(0, state.region - 1)),
  };

  tracks.addEventListener("keydown", (event) => {
    const action = keys[event.key];
    if (!action || event.ctrlKey || event.altKey || event.metaKey) return;
    event.preventDefault();
    action(event);
  });

  const drag = { active: false, moved: false, x: 0, from: 0, to: 0 };
  const xOf = (event) => event.clientX - canvas.getBoundingClientRect().left;
  tracks.addEventListener("pointerdown", (event) => {
    if (event.button !== 0) return;
    Object.assign(drag, { active: true, moved: false, x: xOf(event), from: state.from, to: state.to });
    tracks.setPointerCapture(event.pointerId);
  });
  tracks.addEventListener("pointermove", (event) => {
    if (!drag.active) return;
    const by = xOf(event) - drag.x;
    if (Math.abs(by) > 4) drag.moved = true;
    const seconds = (by / width()) * (drag.to - drag.from);
    if (drag.moved) show(drag.from - seconds, drag.to - seconds);
  });
  tracks.addEventListener("pointerup", (event) => {
    if (drag.active && !drag.moved) {
      const y = event.clientY - canvas.getBoundingClientRect().top;
      const x = xOf(event);
      const hit = layout.boxes.find((box) => x >= box.left && x <= box.right && y >= box.top && y <= box.bottom);
      if (hit) goToRegion(hit.index);
      else if (x >= LEFT && x <= LEFT + width()) moveTo(timeAt(x));
    }
    drag.active = false;
  });
  tracks.addEventListener("wheel", (event) => {
    if (!event.ctrlKey && !event.shiftKey) return; // the page scrolls
    event.preventDefault();
    if (event.shiftKey) pan(Math.sign(event.deltaY || event.deltaX) * 0.15);
    else zoom(event.deltaY < 0 ? 1.3 : 1 / 1.3, clamp(timeAt(xOf(event)), state.from, state.to));
  }, { passive: false });

  byId("play").addEventListener("click", togglePlay);
  byId("zoom-in").addEventListener("click", () => zoomAtCursor(2));
  byId("zoom-out").addEventListener("click", () => zoomAtCursor(0.5));
  byId("whole").addEventListener("click", () => show(0, current().seconds));
  byId("back").addEventListener("click", () => pan(-0.5));
  byId("on").addEventListener("click", () => pan(0.5));
  const showPlaying = () => {
    byId("play").textContent = player.paused ? "Play" : "Pause";
    byId("play").setAttribute("aria-pressed", String(!player.paused));
    requestAnimationFrame(tick);
  };
  for (const event of ["play", "pause", "ended"]) player.addEventListener(event, showPlaying);
  new ResizeObserver(() => { if (state.index >= 0 && Math.round(canvas.clientWidth * (window.devicePixelRatio || 1)) !== canvas.width) draw(); }).observe(canvas);
  window.matchMedia("(prefers-color-scheme: dark)").addEventListener("change", draw);

  const list = byId("recordings");
  list.hidden = recordings.length < 2;
  recordings.forEach((recording, index) => {
    const button = document.createElement("button");
    button.textContent = recording.name;
    button.addEventListener("click", () => open(index));
    list.append(button);
  });
  open(0);
})();
