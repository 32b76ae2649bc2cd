// Draws the series of the page and lets them be zoomed. Colours come from the style, which knows light, dark and paper.
(function () {
  "use strict";
  const data = JSON.parse(document.getElementById("data").textContent);
  const times = data.bins.map((bin) => data.from + (bin + 0.5) * data.width);
  const drawn = [];   // functions that draw a chart anew
  const sync = uPlot.sync("time");

  const paper = 900;    // px, of a chart that the style makes three quarters as large
  let printing = false;
  const widthOf = (place) => (printing ? paper : Math.max(place.clientWidth, 200));

  const colour = (name) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();
  const signalColours = ["--blue", "--orange", "--green", "--J", "--C", "--quiet", "--E", "--R"];

  // Of each line its greatest and least values, with a band between them, or a single series.
  function linesOf(lines, columns, series, bands, decimals) {
    const text = (v) => (v == null ? "–" : v.toFixed(decimals));
    for (const line of lines) {
      const stroke = colour(line.colour), points = { show: false };
      const [least, greatest] = line.values;
      const value = (u, v, s, i) => (greatest && i != null && least[i] !== v ? text(least[i]) + " to " : "") + text(v);
      columns.push(greatest || least);
      series.push({ label: line.name, stroke, width: 1.5, value, points, ranged: !!greatest });
      if (!greatest) continue;
      columns.push(least);
      series.push({ label: line.name, class: "least", stroke, width: 1, points });
      bands.push({ series: [series.length - 2, series.length - 1], fill: stroke + "40" });
    }
  }

  function axis(text, size) {
    const font = "12px system-ui, sans-serif";
    return {
      label: text || undefined, labelSize: 18, labelFont: font, font,
      size, stroke: () => colour("--quiet"), grid: { stroke: () => colour("--line"), width: 1 },
      ticks: { stroke: () => colour("--line"), width: 1 },
    };
  }

  function chart(place, unit, lines, decimals) {
    const columns = [times], bands = [];
    const series = [{ label: "GPS time", value: "{YYYY}-{MM}-{DD} {HH}:{mm}:{ss}" }];
    linesOf(lines, columns, series, bands, decimals);
    const options = {
      width: widthOf(place), height: 240, series, bands,
      tzDate: (seconds) => uPlot.tzDate(new Date(seconds * 1000), "Etc/UTC"),
      fmtDate: (template) => uPlot.fmtDate(template.replace("{h}{aa}", "{HH}:00").replace("{h}", "{HH}").replace("{aa}", "").replace("{M}/{D}/{YY}", "{YYYY}-{MM}-{DD}").replace("{M}/{D}", "{MM}-{DD}")),
      axes: [axis("", 46), { ...axis(unit, 52), ...(decimals ? {} : { incrs: [1, 2, 5, 10, 20, 50] }) }],
      cursor: { sync: { key: sync.key }, drag: { x: true, y: false } },
      hooks: { setSeries: [(u, i, how) => { if (i && how.show != null && u.series[i].ranged) u.setSeries(i + 1, { show: how.show }); }] },
    };
    place.replaceChildren();
    const plot = new uPlot(options, columns, place);
    place.plot = plot;
    place.onkeydown = (event) => zoom(event, plot);
    return plot;
  }

  function zoom(event, plot) {
    const all = [times[0], times[times.length - 1]], { min, max } = plot.scales.x, span = max - min;
    const moves = {
      "+": [min + span / 4, max - span / 4], "=": [min + span / 4, max - span / 4],
      "-": [min - span / 2, max + span / 2], ArrowLeft: [min - span / 4, max - span / 4],
      ArrowRight: [min + span / 4, max + span / 4], 0: all, Escape: all,
    };
    const to = moves[event.key];
    if (!to) return;
    event.preventDefault();
    for (const place of document.querySelectorAll(".chart"))
      if (place.plot) place.plot.setScale("x", { min: Math.max(to[0], all[0]), max: Math.min(to[1], all[1]) });
  }

  const digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
  const packed = (text, at) => digits.indexOf(text[2 * at]) * digits.length + digits.indexOf(text[2 * at + 1]);

  // A satellite's numbers are tenths from its first bin on; 0 is none.
  function satelliteLines(name) {
    const { from, every, ...signals } = data.satellites[name];
    return Object.keys(signals).map((signal, i) => ({
      name: signal,
      colour: signalColours[i % signalColours.length],
      values: signals[signal].map((list) => {
        const whole = new Array(times.length).fill(null);
        for (let at = 0; 2 * at < list.length; ++at) whole.fill(packed(list, at) / 10 || null, from + at * every, from + (at + 1) * every);
        return whole;
      }),
    }));
  }

  for (const place of document.querySelectorAll(".chart")) {
    const id = place.dataset.chart;
    if (id === "satellite") {
      const choice = document.getElementById("which");
      const draw = () => chart(place, "dB-Hz", satelliteLines(choice.value), 1);
      choice.onchange = draw;
      drawn.push(draw);
    } else {
      const decimals = { height: 2, used: 0, dop: 2 }[id];
      drawn.push(() => chart(place, data[id].unit, data[id].lines, decimals));
    }
  }
  const drawAll = () => drawn.forEach((draw) => draw());
  drawAll();

  let width = window.innerWidth;
  const fit = () => {
    for (const place of document.querySelectorAll(".chart"))
      if (place.plot) place.plot.setSize({ width: widthOf(place), height: 240 });
  };
  window.addEventListener("resize", () => { if (window.innerWidth !== width) { width = window.innerWidth; fit(); } });
  matchMedia("(prefers-color-scheme: dark)").addEventListener("change", drawAll);
  for (const event of ["beforeprint", "afterprint"])
    window.addEventListener(event, () => {
      printing = event === "beforeprint";
      document.documentElement.classList.toggle("paper", printing);   // charts are drawn before the style is paper's
      drawAll();
    });
})();
