'use strict';
// Two versions of a picture under one border that drags, as a whole or a part at its true size, and a lens.
(() => {
  const data = JSON.parse(document.getElementById('data').textContent);
  const el = (id) => document.getElementById(id);
  const [viewer, stage, handle, lens] = ['viewer', 'stage', 'handle', 'lens'].map(el);
  const images = { left: el('img-left'), right: el('img-right') };
  const picks = { left: el('left'), right: el('right') };
  const WHOLE = -1;
  const titles = data.versions.map((version) => version.title);
  const state = { left: 0, right: data.shown, view: WHOLE, at: 0.5, lens: true, flipped: false, pan: { x: 0, y: 0 } };
  const touchOnly = matchMedia('(hover: none)').matches;
  if (touchOnly) state.lens = false;

  const clamp = (value, low, high) => Math.min(Math.max(value, low), high);
  const area = () => (state.view === WHOLE ? { x: 0, y: 0, width: data.width, height: data.height } : data.places[state.view].area);
  const source = (side) => {
    const version = data.versions[state[side]];
    return state.view === WHOLE ? version.whole : version.crops[state.view];
  };

  function layOut() {
    const shown = area();
    const room = viewer.clientWidth;
    const whole = state.view === WHOLE;
    const width = whole ? Math.min(room, shown.width) : Math.min(room, shown.width);
    const height = whole ? width * shown.height / shown.width : Math.min(shown.height, Math.max(320, innerHeight * 0.8));
    stage.style.width = width + 'px';
    stage.style.height = height + 'px';
    viewer.classList.toggle('whole', whole);
    state.slack = { x: whole ? 0 : shown.width - width, y: whole ? 0 : shown.height - height };
    stage.classList.toggle('pans', state.slack.x > 1 || state.slack.y > 1);
    pan(0, 0);
    moveTo(state.at);
  }

  function pan(dx, dy) {
    state.pan.x = clamp(state.pan.x + dx, -state.slack.x, 0);
    state.pan.y = clamp(state.pan.y + dy, -state.slack.y, 0);
    const whole = state.view === WHOLE;
    for (const image of Object.values(images)) {
      image.style.transform = whole ? '' : `translate(${state.pan.x}px, ${state.pan.y}px)`;
    }
    clip();
  }

  // The left picture is cut off at the border, in the place where it lies.
  function clip() {
    const x = state.flipped ? stage.clientWidth : state.at * stage.clientWidth;
    const own = state.view === WHOLE ? x : x - state.pan.x;
    images.left.style.clipPath = `polygon(0 0, ${own}px 0, ${own}px 100%, 0 100%)`;
  }

  function moveTo(at) {
    state.at = clamp(at, 0, 1);
    handle.style.left = state.at * 100 + '%';
    handle.setAttribute('aria-valuenow', Math.round(state.at * 100));
    handle.setAttribute('aria-valuetext', `${Math.round(state.at * 100)} % ${titles[state.left]}`);
    clip();
  }

  function show() {
    for (const side of ['left', 'right']) {
      if (images[side].getAttribute('src') !== source(side)) images[side].src = source(side);
      images[side].alt = titles[state[side]];
      picks[side].value = state[side];
      el('tag-' + side).textContent = titles[state[side]];
    }
    document.querySelectorAll('#views button').forEach((button, i) => button.setAttribute('aria-pressed', i - 1 === state.view));
    el('marks').hidden = state.view !== WHOLE;
    el('lens-on').setAttribute('aria-pressed', state.lens);
    el('hint').innerHTML = touchOnly
      ? 'Drag the border; with the lens on, drag over the picture. Outlined parts open at true size.'
      : 'Drag the border, or <kbd>←</kbd> <kbd>→</kbd> (with <kbd>shift</kbd> further) · <kbd>space</kbd> left alone · <kbd>x</kbd> exchange · <kbd>l</kbd> lens · <kbd>0</kbd>–<kbd>' + data.places.length + '</kbd> view';
    layOut();
  }

  function setView(view) {
    state.view = view;
    const shown = area();
    state.pan = { x: -Math.max(0, shown.width - viewer.clientWidth) / 2, y: 0 };
    lens.hidden = true;
    show();
  }

  // The part of a version around a point of the whole picture, from where it is kept best.
  function fillPane(side, x, y, zoom) {
    const pane = el('lens-' + side);
    const version = data.versions[state[side]];
    const half = pane.clientWidth / 2 / zoom;
    const covers = (place) => x - half >= place.area.x && y - half >= place.area.y &&
      x + half <= place.area.x + place.area.width && y + half <= place.area.y + place.area.height;
    const crop = data.width <= 1600 ? -1 : state.view !== WHOLE ? state.view : data.places.findIndex(covers);
    const kept = crop < 0 ? { x: 0, y: 0, width: data.width, height: data.height } : data.places[crop].area;
    pane.style.backgroundImage = `url("${crop < 0 ? version.whole : version.crops[crop]}")`;
    pane.style.backgroundSize = `${kept.width * zoom}px ${kept.height * zoom}px`;
    pane.style.backgroundPosition = `${-((x - kept.x - half) * zoom)}px ${-((y - kept.y - half) * zoom)}px`;
    return crop >= 0 || data.width <= 1600;
  }

  function moveLens(event) {
    const box = stage.getBoundingClientRect();
    const inside = { x: event.clientX - box.left, y: event.clientY - box.top };
    const out = inside.x < 0 || inside.y < 0 || inside.x > box.width || inside.y > box.height;
    lens.hidden = out || !state.lens;
    if (lens.hidden) return;
    const shown = area();
    const whole = state.view === WHOLE;
    const scale = whole ? shown.width / box.width : 1;
    const x = shown.x + (inside.x - (whole ? 0 : state.pan.x)) * scale;
    const y = shown.y + (inside.y - (whole ? 0 : state.pan.y)) * scale;
    const zoom = whole && scale > 1.2 ? 1 : 3;
    const exact = [fillPane('left', x, y, zoom), fillPane('right', x, y, zoom)].every(Boolean);
    lens.classList.toggle('large', zoom > 1);
    el('lens-note').textContent = !exact ? '1:1 from the overview' : zoom > 1 ? zoom + ':1' : '1:1';
    const frame = viewer.getBoundingClientRect();
    const above = event.clientY - frame.top - lens.offsetHeight - 28;
    const roomAbove = event.clientY - lens.offsetHeight - 28 > 0;
    lens.style.left = clamp(event.clientX - frame.left - lens.offsetWidth / 2, 0, viewer.clientWidth - lens.offsetWidth) + 'px';
    lens.style.top = (roomAbove ? above : event.clientY - frame.top + 28) + 'px';
  }

  let drag = null;
  let from = 0;
  stage.addEventListener('pointerdown', (event) => {
    if (event.button !== 0) return;
    if (event.target.closest('#marks')) {  // a click opens the part, a drag moves the border
      drag = 'undecided';
      from = event.clientX;
      return;
    }
    const onHandle = event.target.closest('.handle') !== null;
    const touch = event.pointerType !== 'mouse';
    drag = onHandle ? 'border' : stage.classList.contains('pans') ? 'pan' : touch && state.lens ? 'lens' : 'border';
    if (touch && state.lens && !onHandle) drag = 'lens';
    stage.setPointerCapture(event.pointerId);
    if (drag === 'border') {
      handle.focus({ preventScroll: true });
      lens.hidden = true;
    }
    onMove(event);
    event.preventDefault();
  });
  function onMove(event) {
    const box = stage.getBoundingClientRect();
    if (drag === 'undecided' && Math.abs(event.clientX - from) > 6) {
      drag = event.pointerType !== 'mouse' && state.lens ? 'lens' : 'border';
      stage.setPointerCapture(event.pointerId);
    }
    if (drag === 'border') moveTo((event.clientX - box.left) / box.width);
    if (drag === 'pan' && event.type === 'pointermove') pan(event.movementX, event.movementY);
    if (drag === 'lens' || (drag === null && event.pointerType === 'mouse')) moveLens(event);
  }
  stage.addEventListener('pointermove', onMove);
  for (const end of ['pointerup', 'pointercancel']) addEventListener(end, () => { drag = null; });
  stage.addEventListener('pointerleave', () => { lens.hidden = true; });
  stage.addEventListener('touchmove', (event) => { if (drag === 'lens') event.preventDefault(); }, { passive: false });

  function flip(on) {
    state.flipped = on;
    handle.style.visibility = on ? 'hidden' : '';
    el('tag-right').hidden = on;
    clip();
  }
  function swap() {
    [state.left, state.right] = [state.right, state.left];
    show();
  }
  function toggleLens() {
    state.lens = !state.lens;
    lens.hidden = true;
    show();
  }

  document.addEventListener('keydown', (event) => {
    if (event.target.closest('select, input, summary') || event.ctrlKey || event.metaKey || event.altKey) return;
    const step = event.shiftKey ? 0.1 : 0.01;
    const moves = { ArrowLeft: state.at - step, ArrowRight: state.at + step, PageDown: state.at - 0.1, PageUp: state.at + 0.1, Home: 0, End: 1 };
    const onlyOnHandle = ['PageDown', 'PageUp', 'Home', 'End'];
    if (event.key in moves && (event.target === handle || !onlyOnHandle.includes(event.key))) moveTo(moves[event.key]);
    else if (event.key === ' ' && !event.target.closest('button, a')) flip(true);
    else if (event.key === 'x') swap();
    else if (event.key === 'l') toggleLens();
    else if (event.key >= '0' && event.key <= '9' && Number(event.key) <= data.places.length) setView(Number(event.key) - 1);
    else return;
    event.preventDefault();
  });
  document.addEventListener('keyup', (event) => { if (event.key === ' ') flip(false); });
  el('flip').addEventListener('pointerdown', () => flip(true));
  for (const end of ['pointerup', 'pointerleave', 'pointercancel', 'blur']) el('flip').addEventListener(end, () => flip(false));
  el('swap').addEventListener('click', swap);
  el('lens-on').addEventListener('click', toggleLens);

  for (const side of ['left', 'right']) {
    titles.forEach((title, i) => picks[side].add(new Option(title, i)));
    picks[side].addEventListener('change', () => {
      state[side] = Number(picks[side].value);
      show();
    });
  }
  const addView = (text, view) => {
    const button = document.createElement('button');
    button.type = 'button';
    button.textContent = text;
    button.addEventListener('click', () => setView(view));
    el('views').append(button);
  };
  addView('whole', WHOLE);
  data.places.forEach((place, i) => {
    addView('1:1 ' + place.name, i);
    const mark = document.createElement('button');
    mark.type = 'button';
    mark.title = mark.ariaLabel = place.name + ' at true size';
    mark.style.left = 100 * place.area.x / data.width + '%';
    mark.style.top = 100 * place.area.y / data.height + '%';
    mark.style.width = 100 * place.area.width / data.width + '%';
    mark.style.height = 100 * place.area.height / data.height + '%';
    const name = document.createElement('span');
    name.textContent = place.name;
    mark.append(name);
    mark.addEventListener('click', () => setView(i));
    el('marks').append(mark);
  });
  addEventListener('resize', layOut);
  show();
})();
