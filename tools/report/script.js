"use strict";

// Numbers written as [first, step, count, first, step, count, …].
function numbersOf(steps) {
  const numbers = [];
  for (let i = 0; i < steps.length; i += 3) {
    for (let n = 0; n < steps[i + 2]; ++n) numbers.push(steps[i] + n * steps[i + 1]);
  }
  return numbers;
}

function element(name, attributes) {
  const made = document.createElementNS("http://www.w3.org/2000/svg", name);
  for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
  return made;
}

// Lines through the middle of cells, as wide as these are high.
class CellPath {
  constructor(width, height) {
    this.width = width;
    this.height = height;
    this.text = "";
    this.start = this.end = 0;
    this.row = -1;
  }
  add(column, row) {
    if (row === this.row && column === this.end) {
      ++this.end;
      return;
    }
    this.flush();
    this.start = column;
    this.end = column + 1;
    this.row = row;
  }
  flush() {
    if (this.end === this.start) return;
    this.text += `M${this.start * this.width} ${this.row * this.height}h${(this.end - this.start) * this.width}`;
    this.start = this.end;
  }
}

class DetectorMap {
  constructor(data) {
    this.colors = data.colors;
    this.patterns = data.patterns;
    this.statuses = data.statuses;
    this.count = data.boards;
    for (const name of ["diblocks", "dcms", "ports", "planes", "modules"]) this[name] = numbersOf(data[name]);
    this.views = data.views.map((view) => this.prepareView(view));
    this.quantities = data.quantities.map((quantity) => this.prepareQuantity(quantity));
    this.view = this.views[0];
    this.quantity = this.quantities[0];
    this.at = null;
    this.chosen = null;
    this.container = document.getElementById("map");
    this.told = document.getElementById("board");
  }

  prepareView(view) {
    const columns = numbersOf(view.columns);
    const rows = numbersOf(view.rows);
    const boards = new Map();
    for (let i = 0; i < this.count; ++i) boards.set(rows[i] * 100000 + columns[i], i);
    return {
      ...view, columns, rows, boards,
      svg: document.getElementById(view.name),
      lastColumn: Math.max(...columns),
      lastRow: Math.max(...rows),
    };
  }

  prepareQuantity(quantity) {
    const statuses = numbersOf(quantity.statuses);
    let next = 0;
    const scale = 10 ** quantity.digits;
    const values = statuses.map((status) =>
      (status === 0 && !quantity.yesNo ? (quantity.least + quantity.values[next++]) / scale : null));
    return { ...quantity, statuses, values, beyond: new Set(quantity.beyond) };
  }

  draw() {
    const { view, quantity } = this;
    for (const other of this.views) other.svg.toggleAttribute("hidden", other !== view);
    const ofColor = this.colors.map(() => new CellPath(1, 1));
    const yes = new CellPath(1, 1);
    const marks = { below: new CellPath(1, 1), above: new CellPath(1, 1) };
    const ofStatus = new Map();
    const range = quantity.high - quantity.low;
    for (let i = 0; i < this.count; ++i) {
      const status = quantity.statuses[i];
      let path = yes;
      if (status !== 0) {
        if (!ofStatus.has(status)) ofStatus.set(status, new CellPath(view.cellWidth, view.cellHeight));
        path = ofStatus.get(status);
      } else if (!quantity.yesNo) {
        const part = range > 0 ? (quantity.values[i] - quantity.low) / range : 0.5;
        const color = Math.floor(part * this.colors.length);
        path = ofColor[Math.min(Math.max(color, 0), this.colors.length - 1)];
        if (quantity.beyond.has(i)) marks[part < 0.5 ? "below" : "above"].add(view.columns[i], view.rows[i]);
      }
      path.add(view.columns[i], view.rows[i]);
    }
    const shown = (path, attributes) => {
      path.flush();
      return path.text === "" ? [] : [element("path", { ...attributes, d: path.text })];
    };
    view.svg.querySelector(".values").replaceChildren(
      ...ofColor.flatMap((path, i) => shown(path, { stroke: this.colors[i] })),
      ...shown(yes, { class: "yes" }),
      ...shown(marks.below, { class: "below" }),
      ...shown(marks.above, { class: "above" }));
    view.svg.querySelector(".patterns").replaceChildren(
      ...[...ofStatus].flatMap(([status, path]) => shown(path, { stroke: `url(#${this.patterns[status]})` })));
    for (const legend of document.querySelectorAll(".legend")) {
      legend.hidden = legend.dataset.quantity !== quantity.name;
    }
    document.getElementById("quantity").value = quantity.name;
    document.getElementById("view").value = view.name;
    this.showChosen();
  }

  // Of a board: where it is and what it has.
  text(i) {
    const quantity = this.quantity;
    const status = quantity.statuses[i];
    const unit = quantity.unit === "" ? "" : ` ${quantity.unit}`;
    const place = `diblock ${this.diblocks[i]}, DCM ${this.dcms[i]}, port ${this.ports[i]} ` +
      `(plane ${this.planes[i]}, cells ${this.modules[i] * 32} to ${this.modules[i] * 32 + 31})`;
    let what = this.statuses[status];
    if (status === 0) {
      what = quantity.yesNo ? quantity.name : `${quantity.name} ${quantity.values[i].toFixed(quantity.digits)}${unit}`;
      if (quantity.beyond.has(i)) what += ", beyond the scale";
    }
    const measured = quantity.measured[i];
    if (measured !== undefined) what += `, measured ${measured.toFixed(quantity.digits)}${unit}`;
    return `${place}: ${what}`;
  }

  tell(i) {
    const text = this.text(i);
    if (this.told.textContent !== text) this.told.textContent = text;
  }

  // Marks boards, the first of which is the one that the keys move from.
  choose(boards) {
    this.chosen = boards;
    this.at = boards[0];
    this.showChosen();
  }

  tellChosen() {
    const boards = this.chosen;
    if (boards.length === 1) {
      this.tell(boards[0]);
      return;
    }
    const isOneDCM = boards.every((i) => this.dcms[i] === this.dcms[boards[0]]);
    this.told.textContent = `diblock ${this.diblocks[boards[0]]}` +
      `${isOneDCM ? `, DCM ${this.dcms[boards[0]]}` : ""}: ${boards.length} boards`;
  }

  showChosen() {
    for (const old of this.container.querySelectorAll(".chosen")) old.remove();
    if (!this.chosen) return;
    this.tellChosen();
    const { view } = this;
    const box = (boards) => {
      const columns = boards.map((i) => view.columns[i]);
      const rows = boards.map((i) => view.rows[i]);
      const left = Math.min(...columns);
      const top = Math.min(...rows);
      view.svg.append(element("rect", {
        class: "chosen",
        x: view.left + left * view.cellWidth - 1,
        y: view.top + top * view.cellHeight - 1,
        width: (Math.max(...columns) + 1 - left) * view.cellWidth + 2,
        height: (Math.max(...rows) + 1 - top) * view.cellHeight + 2,
      }));
    };
    // By plane and cell the boards of a DCM, or a diblock, lie in both views.
    if (view.name === "geometry") {
      for (const side of [0, 1]) {
        const boards = this.chosen.filter((i) => this.planes[i] % 2 === side);
        if (boards.length > 0) box(boards);
      }
    } else {
      box(this.chosen);
    }
  }

  // The board under a pointer.
  under(event) {
    const { view } = this;
    const matrix = view.svg.getScreenCTM();
    if (!matrix) return undefined;
    const point = new DOMPoint(event.clientX, event.clientY).matrixTransform(matrix.inverse());
    const column = Math.floor((point.x - view.left) / view.cellWidth);
    const row = Math.floor((point.y - view.top) / view.cellHeight);
    return column < 0 ? undefined : view.boards.get(row * 100000 + column);
  }

  // The next board in a direction, over the gaps between the parts of a map.
  step(across, down) {
    const { view } = this;
    let column = view.columns[this.at];
    let row = view.rows[this.at];
    while (true) {
      column += across;
      row += down;
      if (column < 0 || row < 0 || column > view.lastColumn || row > view.lastRow) return;
      const board = view.boards.get(row * 100000 + column);
      if (board !== undefined) {
        this.choose([board]);
        return;
      }
    }
  }

  // The boards that "board-8-3-5", "dcm-8-3" or "diblock-8" names.
  named(anchor) {
    const match = /^(?:board|dcm|diblock)-(\d+)(?:-(\d+))?(?:-(\d+))?$/.exec(anchor);
    if (!match) return [];
    const [diblock, dcm, port] = match.slice(1).map((text) => (text === undefined ? null : Number(text)));
    const boards = [];
    for (let i = 0; i < this.count; ++i) {
      if (this.diblocks[i] === diblock && (dcm === null || this.dcms[i] === dcm) &&
          (port === null || this.ports[i] === port)) {
        boards.push(i);
      }
    }
    return boards;
  }

  goTo(anchor, quantity) {
    const boards = this.named(anchor);
    if (boards.length === 0) return false;
    this.quantity = this.quantities.find((each) => each.name === quantity) || this.quantity;
    this.choose(boards);
    this.draw();
    this.container.focus({ preventScroll: true });
    this.container.scrollIntoView({ block: "center" });
    const chosen = this.container.querySelector(".chosen").getBoundingClientRect();
    const frame = this.container.getBoundingClientRect();
    this.container.scrollLeft += chosen.left + chosen.width / 2 - frame.left - frame.width / 2;
    return true;
  }

  listen() {
    const keys = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };
    const { container } = this;
    container.tabIndex = 0;
    container.setAttribute("role", "application");
    container.setAttribute("aria-label", "Map of the detector");
    container.setAttribute("aria-describedby", "map-help board");
    document.getElementById("map-help").hidden = false;
    document.querySelector(".controls").hidden = false;
    container.addEventListener("keydown", (event) => {
      const move = keys[event.key];
      if (!move || event.ctrlKey || event.altKey || event.metaKey) return;
      event.preventDefault();
      if (this.at === null) {
        this.choose([0]);
      } else {
        this.step(...move);
      }
    });
    container.addEventListener("pointermove", (event) => {
      const board = this.under(event);
      if (board !== undefined) {
        this.tell(board);
      } else if (this.chosen) {
        this.tellChosen();
      }
    });
    container.addEventListener("pointerleave", () => {
      if (this.chosen) this.tellChosen();
      else this.told.textContent = "";
    });
    container.addEventListener("click", (event) => {
      const board = this.under(event);
      if (board !== undefined) this.choose([board]);
    });
    document.getElementById("quantity").addEventListener("change", (event) => {
      this.quantity = this.quantities.find((each) => each.name === event.target.value);
      this.draw();
    });
    document.getElementById("view").addEventListener("change", (event) => {
      this.view = this.views.find((each) => each.name === event.target.value);
      this.draw();
    });
    document.addEventListener("click", (event) => {
      const link = event.target.closest(".places a");
      if (!link || event.ctrlKey || event.metaKey || event.shiftKey) return;
      if (this.goTo(link.hash.slice(1), link.closest(".places").dataset.quantity)) {
        event.preventDefault();
        history.replaceState(null, "", link.hash);
      }
    });
  }
}

// The table of a diblock's boards, made when somebody opens it: of all of them it would be long.
function offerBoards(map) {
  const details = document.getElementById("boards");
  const choice = document.getElementById("boards-diblock");
  const table = document.getElementById("boards-table");
  const row = (cells, name) => {
    const line = document.createElement("tr");
    cells.forEach((text, i) => {
      const cell = document.createElement(i === 0 ? "th" : name);
      if (name === "th" || i === 0) cell.scope = name === "th" ? "col" : "row";
      cell.textContent = text;
      line.append(cell);
    });
    return line;
  };
  const fill = () => {
    const boards = map.named(`diblock-${choice.value}`);
    table.tBodies[0].replaceChildren(...boards.map((i) => row([
      `${map.diblocks[i]}/${map.dcms[i]}/${map.ports[i]}`, map.planes[i], map.modules[i],
      ...map.quantities.map((quantity) => {
        const status = quantity.statuses[i];
        if (status !== 0) return map.statuses[status];
        return quantity.yesNo ? "yes" : quantity.values[i].toFixed(quantity.digits);
      })], "td")));
  };
  table.tHead.append(row(["board", "plane", "module",
    ...map.quantities.map((quantity) => quantity.name + (quantity.unit === "" ? "" : ` (${quantity.unit})`))], "th"));
  for (const diblock of new Set(map.diblocks)) choice.append(new Option(diblock, diblock));
  choice.addEventListener("change", fill);
  details.addEventListener("toggle", () => {
    if (details.open && table.tBodies[0].rows.length === 0) fill();
  });
  details.hidden = false;
}

function makeSortable(table) {
  const headings = [...table.tHead.rows[0].cells];
  const key = (row, column) => {
    const text = row.cells[column].dataset.sorted;
    const number = Number(text);
    return { text, number, isNone: text === "", isNumber: text !== "" && !Number.isNaN(number) };
  };
  const compare = (a, b) => (a.isNumber && b.isNumber ? a.number - b.number : a.text < b.text ? -1 : a.text > b.text ? 1 : 0);
  headings.forEach((heading, column) => {
    const button = document.createElement("button");
    button.type = "button";
    button.append(...heading.childNodes);
    heading.append(button);
    button.addEventListener("click", () => {
      const sign = heading.getAttribute("aria-sort") === "ascending" ? -1 : 1;
      for (const other of headings) other.removeAttribute("aria-sort");
      heading.setAttribute("aria-sort", sign > 0 ? "ascending" : "descending");
      const rows = [...table.tBodies[0].rows].map((row) => ({ row, key: key(row, column) }));
      // What is not known stands last, either way.
      rows.sort((a, b) => a.key.isNone - b.key.isNone || sign * compare(a.key, b.key));
      table.tBodies[0].append(...rows.map((each) => each.row));
    });
  });
}

function offerAxes(trends) {
  const choice = document.getElementById("axis");
  document.querySelector(".controls").hidden = false;
  choice.addEventListener("change", () => {
    const isTime = choice.value === "time";
    trends.classList.toggle("over-time", isTime);
    for (const point of trends.querySelectorAll("circle")) {
      const at = isTime ? point.dataset.time : point.dataset.run;
      point.parentNode.toggleAttribute("hidden", at === "");
      if (at !== "") point.setAttribute("cx", at);
    }
  });
}

const trends = document.getElementById("trends");
if (trends) {
  makeSortable(document.getElementById("runs"));
  offerAxes(trends);
} else {
  const map = new DetectorMap(JSON.parse(document.getElementById("data").textContent));
  map.listen();
  map.draw();
  offerBoards(map);
  map.goTo(location.hash.slice(1));
}

// What is folded is printed, too, where the style sheet cannot ask for that.
addEventListener("beforeprint", () => {
  for (const details of document.querySelectorAll("details:not([open])")) {
    details.dataset.folded = "";
    details.open = true;
  }
});
addEventListener("afterprint", () => {
  for (const details of document.querySelectorAll("details[data-folded]")) {
    delete details.dataset.folded;
    details.open = false;
  }
});
