// What a host's script includes to work with Morvane: it loads the external object, gives it time, runs the scripts that come from other
// coordinators, and asks them to run scripts in turn.
//
//     #include "morvane.jsx"
//     Morvane.init("net.morvane.coordinator.layout");
//     Morvane.onLog = function (line) { $.writeln(line); };
//     Morvane.eval("1 + 2", function (error, result) { alert(result); }, 5000);
//     Morvane.startIdleTask(50);           // or call Morvane.timeslice() now and then
//
// ECMAScript 3, and of the host only what is listed below under "The host". Nothing here throws but `load`, `init` and `toText`.

var Morvane = (function () {
	var LIBRARIES = ["MorvaneESDLL_x64R.dll", "libMorvaneESDLL_x64R.so"];
	var DEFAULT_SERVICE = "net.morvane.service.objectmodel/0";
	var OPCODE_EVAL = 12;
	var OPCODE_EVAL_RESULT = 14;
	var DEFAULT_MILLISECONDS = 10000;
	var MAX_DEPTH = 200;

	var api = {};
	var library = null;       // the external object
	var isStarted = false;
	var waiting = {};         // answers that `eval` waits for, by their number
	var lastNumber = 0;
	var clientHost = "";      // the name under which answers come back to this script
	var clientGUID = "";
	var upstreamGUID = "";
	var clientSessionId = "";
	var isInTimeslice = false;
	var idleTask = null;

	// Each may be replaced by the including script. An error in one of them is a line for `onLog`, or lost when it is `onLog`'s own.
	api.onLog = null;         // function (line)
	api.onHostMessage = null; // function (targetHost, text): carry it to that host's relayHostMessage

	// --- The host: all that is asked of it

	function now() { return new Date().getTime(); }

	// The full path of this file, "" when the host doesn't tell.
	var ownPath = typeof $ !== "undefined" && $.fileName ? String($.fileName) : "";

	function fileExists(path) { return new File(path).exists; }

	// The path as the system writes it.
	function nativePath(path) {
		var file = new File(path);
		return file.fsName ? String(file.fsName) : path;
	}

	function sleep(milliseconds) { $.sleep(milliseconds); }

	// Folders that the host itself loads external objects from.
	function hostFolders() {
		var folders = [];
		if (typeof app !== "undefined" && app.path) {
			folders.push(String(app.path.fsName || app.path));
		}
		if (typeof Folder !== "undefined" && Folder.startup) {
			folders.push(String(Folder.startup.fsName || Folder.startup));
		}
		return folders;
	}

	// --- Text

	function hex(number, digits) {
		var text = number.toString(16).toUpperCase();
		while (text.length < digits) {
			text = "0" + text;
		}
		return text;
	}

	function randomGUID() {
		var digits = "";
		var i;
		for (i = 0; i < 8; i++) {
			digits += hex(Math.floor(Math.random() * 65536), 4);
		}
		return digits.substr(0, 8) + "-" + digits.substr(8, 4) + "-" + digits.substr(12, 4) + "-" + digits.substr(16, 4) + "-" +
			digits.substr(20, 12);
	}

	// Texts are gone through by whole runs: adding character by character copies the whole text each time in most hosts.
	function quote(text) {
		return "\"" + text.replace(/[^ !#-\[\]-~]/g, function (character) {
			var code = character.charCodeAt(0);
			return code === 34 || code === 92 ? "\\" + character : code < 128 ? "\\x" + hex(code, 2) : "\\u" + hex(code, 4);
		}) + "\"";
	}

	// Integers in full as far as they are exact, since some engines round them in texts; others with as many decimals as the language has.
	function numberText(number) {
		var size = Math.abs(number);
		var high;
		if (isNaN(number) || size === Infinity) {
			return "NaN";
		}
		if (Math.floor(number) !== number) {
			return number.toFixed(6);
		}
		if (size < 10000000 || size > 9007199254740992) {
			return String(number).replace("+", "").toLowerCase();
		}
		high = Math.floor(size / 10000000);
		return (number < 0 ? "-" : "") + high + String(10000000 + (size - high * 10000000)).substr(1);
	}

	// An object may have a property of that name itself.
	function hasOwn(value, key) { return Object.prototype.hasOwnProperty.call(value, key); }

	function isPlainObject(value) {
		return Object.prototype.toString.call(value) === "[object Object]" &&
			(typeof value.constructor === "undefined" || value.constructor === Object || hasOwn(value, "constructor"));
	}

	// Text of a value that a coordinator can parse. Arrays and plain objects are taken apart; a date is its text; a function its source as a
	// text; an object of the host what it says of itself. An object within itself is "[cycle]".
	function toText(value, path) {
		var type = typeof value;
		if (value === null) {
			return "null";
		}
		if (type === "undefined") {
			return "undefined";
		}
		if (type === "number") {
			return numberText(value);
		}
		if (type === "boolean") {
			return String(value);
		}
		if (type === "string") {
			return quote(value);
		}
		try {
			return objectText(value, path || []);
		} catch (error) {
			return quote("[" + messageOf(error) + "]");
		}
	}

	function objectText(value, path) {
		var i, parts, key;
		if (value instanceof Number || value instanceof Boolean || value instanceof String) {
			return toText(value.valueOf());
		}
		for (i = 0; i < path.length; i++) {
			if (path[i] === value) {
				return quote("[cycle]");
			}
		}
		if (path.length >= MAX_DEPTH) {
			return quote("[too deep]");
		}
		path = path.concat([value]);
		parts = [];
		if (value instanceof Array) {
			for (i = 0; i < value.length; i++) {
				parts.push(toText(value[i], path));
			}
			return "[" + parts.join(", ") + "]";
		}
		if (typeof value !== "function" && isPlainObject(value)) {
			for (key in value) {
				if (hasOwn(value, key)) {
					parts.push(quote(key) + ": " + toText(value[key], path));
				}
			}
			return "{" + parts.join(", ") + "}";
		}
		return quote(String(value));
	}

	function messageOf(error) {
		return error && error.message ? String(error.message) : String(error);
	}

	function errorText(error) {
		if (typeof error === "undefined") {
			return quote("undefined"); // as it stands it says that nothing was thrown
		}
		if (!(error instanceof Error) && !(error && error.message)) {
			return toText(error);
		}
		return toText({
			name: String(error.name || "Error"),
			message: messageOf(error),
			line: typeof error.line === "number" ? error.line : typeof error.lineNumber === "number" ? error.lineNumber : undefined,
			fileName: error.fileName ? String(error.fileName) : undefined
		});
	}

	// Reads the text of a value: literals only, nothing is run. Throws an Error for any other text.
	function fromText(text) {
		var at = 0;

		function fail(what) { throw new Error("cannot read a value: " + what + " at " + at); }

		function skipBlanks() {
			while (at < text.length && text.charCodeAt(at) <= 32) {
				at++;
			}
		}

		// Strings hold UTF-8 as single bytes.
		function decodeUTF8(bytes) {
			try {
				return decodeURIComponent(escape(bytes));
			} catch (ignored) {
				return bytes;
			}
		}

		function readEscape() {
			var letter = text.charAt(at++);
			var digits = letter === "x" ? 2 : letter === "u" ? 4 : 0;
			var code;
			if (digits) {
				code = parseInt(text.substr(at, digits), 16);
				at += digits;
				return digits === 4 && code > 127 ? unescape(encodeURIComponent(String.fromCharCode(code))) : String.fromCharCode(code);
			}
			return letter === "n" ? "\n" : letter === "r" ? "\r" : letter === "t" ? "\t" : letter;
		}

		function readString() {
			var end = text.charAt(at++);
			var stop = end === "\"" ? /["\\]/g : /['\\]/g;
			var parts = [];
			var found;
			for (stop.lastIndex = at; (found = stop.exec(text)) !== null; stop.lastIndex = at) {
				parts.push(text.substring(at, found.index));
				at = found.index + 1;
				if (found[0] === end) {
					return decodeUTF8(parts.join(""));
				}
				parts.push(readEscape());
			}
			return fail("no end of a string");
		}

		function readWord() {
			var word = /^[A-Za-z_$][A-Za-z0-9_$]*/.exec(text.substr(at, 64));
			if (!word) {
				fail("unexpected text");
			}
			at += word[0].length;
			return word[0];
		}

		function readList(close, readItem) {
			at++;
			skipBlanks();
			while (text.charAt(at) !== close) {
				readItem();
				skipBlanks();
				if (text.charAt(at) === ",") {
					at++;
					skipBlanks();
				} else if (text.charAt(at) !== close) {
					fail("unexpected text");
				}
			}
			at++;
		}

		function readNumber() {
			var number = /^-?(?:0x[0-9A-Fa-f]+|[0-9]+(?:\.[0-9]*)?(?:[eE][+\-]?[0-9]+)?)/.exec(text.substr(at, 400));
			if (!number) {
				fail("no number");
			}
			at += number[0].length;
			return Number(number[0]);
		}

		// A function is given as its text.
		function readFunction(begin) {
			var depth = 0;
			var character;
			while (at < text.length) {
				character = text.charAt(at);
				if (character === "\"" || character === "'") {
					readString();
					continue;
				}
				at++;
				if (character === "{") {
					depth++;
				} else if (character === "}" && --depth === 0) {
					return text.substring(begin, at);
				}
			}
			return fail("no end of a function");
		}

		function readValue(depth) {
			var begin, character, result, word;
			if (depth > MAX_DEPTH) {
				fail("too deep");
			}
			skipBlanks();
			begin = at;
			character = text.charAt(at);
			if (character === "\"" || character === "'") {
				return readString();
			}
			if (character === "[") {
				result = [];
				readList("]", function () { result.push(readValue(depth + 1)); });
				return result;
			}
			if (character === "{") {
				result = {};
				readList("}", function () {
					var key = text.charAt(at) === "\"" || text.charAt(at) === "'" ? readString() : readWord();
					skipBlanks();
					if (text.charAt(at++) !== ":") {
						fail("no colon");
					}
					result[key] = readValue(depth + 1);
				});
				return result;
			}
			if (text.substr(at, 4) === "-inf") {
				at += 4;
				return -Infinity;
			}
			if (character === "-" || (character >= "0" && character <= "9")) {
				return readNumber();
			}
			word = readWord();
			switch (word) {
				case "true": return true;
				case "false": return false;
				case "null": return null;
				case "undefined": return undefined;
				case "NaN": return NaN;
				case "inf": return Infinity;
				case "error": return new Error("error");
				case "function": return readFunction(begin);
				default: return fail("'" + word + "' is no value");
			}
		}

		var value = readValue(0);
		skipBlanks();
		if (at !== text.length) {
			fail("unexpected text");
		}
		return value;
	}

	// --- Lines of messages: control characters, quotes and backslashes are escaped

	var LETTERS = "zSseETAb<tnVfrOIL1234KYPDRC!UFWX";

	function escapeLine(text) {
		return text.replace(/[\x00-\x1F"'\\]/g, function (character) {
			var code = character.charCodeAt(0);
			return "\\" + (code < 32 ? LETTERS.charAt(code) : character);
		});
	}

	function unescapeLine(line) {
		return line.replace(/\\([\s\S]?)/g, function (escaped, letter) {
			var at = letter ? LETTERS.indexOf(letter) : -1;
			return at < 0 ? letter : String.fromCharCode(at);
		});
	}

	// --- Loading

	function reportLog(line) {
		if (api.onLog) {
			try {
				api.onLog(line);
			} catch (ignored) {
				// Its own errors have nowhere to go.
			}
		}
	}

	function candidates(place) {
		var folders = [];
		var paths = [];
		var i, j;
		if (place && /\.(?:dll|so)$/i.test(String(place))) {
			paths.push(String(place));
		} else if (place) {
			folders.push(String(place));
		}
		if (ownPath) {
			folders.push(nativePath(ownPath).replace(/[\/\\][^\/\\]*$/, ""));
		}
		folders = folders.concat(hostFolders());
		for (i = 0; i < folders.length; i++) {
			for (j = 0; j < LIBRARIES.length; j++) {
				paths.push(folders[i].replace(/[\/\\]+$/, "") + (folders[i].indexOf("\\") >= 0 ? "\\" : "/") + LIBRARIES[j]);
			}
		}
		return paths;
	}

	// Loads the external object, once. `place`, which is a folder or the file itself, is looked at first, then the folder of this file, then
	// the host's folders. Throws an Error that lists where it was looked for, or says that the file was refused.
	api.load = function (place) {
		var paths, i, path;
		if (library) {
			return;
		}
		paths = candidates(place);
		for (i = 0; i < paths.length; i++) {
			path = paths[i];
			if (!/^(?:[\/\\]|[A-Za-z]:)/.test(path) || !fileExists(path)) {
				continue;
			}
			try {
				library = new ExternalObject("lib:" + nativePath(path));
				return;
			} catch (error) {
				throw new Error("Morvane: the host refused " + path + " (" + messageOf(error) +
					"). Is the file complete, and of the host's architecture (64 bit)?");
			}
		}
		throw new Error("Morvane: no library found; looked for " + paths.join(", "));
	};

	// --- Life

	// Loads the library if need be and starts a coordinator under a name. Throws an Error with the reason when it can't start, e.g. since
	// another process has that name.
	api.init = function (name, place) {
		var lines = [];
		if (isStarted) {
			return;
		}
		api.load(place);
		library.mrvInit(String(name));
		while (library.mrvGetLogMessageQueueSize() > 0) {
			lines.push(String(library.mrvGetLogMessage()));
			library.mrvAdvanceLogMessageQueue();
		}
		if (lines.length > 0 && /could not start/.test(lines.join("\n"))) {
			library.mrvShutdown();
			throw new Error("Morvane: " + lines.join("\n"));
		}
		isStarted = true;
		clientHost = "host-script-" + randomGUID().toLowerCase();
		clientGUID = randomGUID();
		upstreamGUID = randomGUID();
		clientSessionId = randomGUID();
		waiting = {};
	};

	// Ends the coordinator. Who waits for an answer is told that there will be none. It can be started again.
	api.shutdown = function () {
		var number;
		if (!isStarted) {
			return;
		}
		api.stopIdleTask();
		isStarted = false;
		library.mrvShutdown();
		for (number in waiting) {
			if (waiting.hasOwnProperty(number)) {
				answer(number, "the coordinator was shut down", undefined);
			}
		}
	};

	api.isStarted = function () { return isStarted; };

	// --- Queues

	// Runs a script in the host and gives its value; what it throws goes to whoever has asked for it. May be replaced, where a host can do
	// more. Engines differ in where a `var` of an evaluated text goes: to the global scope, or nowhere beyond it. What is assigned without
	// `var` is global in all of them.
	api.evaluate = new Function("return (0, eval)(arguments[0]);");

	function drainScripts() {
		var text, error, result;
		while (isStarted && library.mrvGetScriptQueueSize() > 0) {
			text = String(library.mrvGetScript());
			error = "undefined";
			result = "undefined";
			try {
				result = toText(api.evaluate(text));
			} catch (caught) {
				error = errorText(caught);
			}
			if (!isStarted) {
				return; // the script has shut everything down
			}
			library.mrvReportScriptCompleted(error, result);
			library.mrvAdvanceScriptQueue();
		}
	}

	function drainHostMessages() {
		var host, text;
		while (isStarted && library.mrvGetHostMessageQueueSize() > 0) {
			host = String(library.mrvGetHostMessageTargetHost());
			text = String(library.mrvGetHostMessage());
			library.mrvAdvanceHostMessageQueue();
			if (host.toLowerCase() === clientHost) {
				takeAnswer(text);
			} else if (api.onHostMessage) {
				try {
					api.onHostMessage(host, text);
				} catch (error) {
					reportLog("Morvane.onHostMessage: " + messageOf(error));
				}
			}
		}
	}

	function drainLog() {
		var line;
		while (isStarted && library.mrvGetLogMessageQueueSize() > 0) {
			line = String(library.mrvGetLogMessage());
			library.mrvAdvanceLogMessageQueue();
			reportLog(line);
		}
	}

	// Gives the coordinator its slice, runs the host scripts that have come, hands out answers, messages and log lines. To be called often,
	// from an idle handler. A call from within a script that runs so does nothing.
	api.timeslice = function () {
		if (!isStarted || isInTimeslice) {
			return;
		}
		isInTimeslice = true;
		try {
			library.mrvTimeslice();
			drainScripts();
			drainHostMessages();
			drainLog();
			endOverdue();
		} finally {
			isInTimeslice = false;
		}
	};

	// Hands in what another host's `onHostMessage` was given for this one.
	api.relayHostMessage = function (senderHost, text) {
		if (isStarted) {
			library.mrvRelayHostMessage(String(senderHost), String(text));
		}
	};

	// --- Scripts in coordinators

	function answer(number, error, result) {
		var entry = waiting[number];
		delete waiting[number];
		if (entry && entry.callback) {
			try {
				entry.callback(error, result);
			} catch (caught) {
				reportLog("Morvane.eval: " + messageOf(caught));
			}
		}
	}

	// The lines: type, sender, receiver, opcode, payload. How many lines an address has depends on its class.
	var ADDRESS_LINES = {
		DataNull: 0, InternalAddress: 1, LocalUnresolvedAddress: 2, RemoteUnresolvedAddress: 3, LocalResolvedAddress: 3,
		RemoteResolvedAddress: 4
	};

	function takeAnswer(text) {
		var lines = text.split("\n");
		var at = 1;
		var i, skipped, payload;
		for (i = 0; i < 2; i++) {
			skipped = ADDRESS_LINES.hasOwnProperty(lines[at]) ? ADDRESS_LINES[lines[at]] : -1;
			if (skipped < 0) {
				reportLog("Morvane: an answer of unknown form was dropped");
				return;
			}
			at += 1 + skipped;
		}
		try {
			if (lines[0] !== "Message" || Number(lines[at]) !== OPCODE_EVAL_RESULT) {
				throw new Error("no result");
			}
			payload = fromText(unescapeLine(lines[at + 1]));
		} catch (error) {
			reportLog("Morvane: an answer was dropped: " + messageOf(error));
			return;
		}
		if (payload && waiting.hasOwnProperty(payload.clientSequenceNr)) {
			answer(payload.clientSequenceNr, payload.error ? String(payload.error) : payload.success ? undefined : "the script failed",
				payload.result);
		}
	}

	function endOverdue() {
		var number;
		for (number in waiting) {
			if (waiting.hasOwnProperty(number) && now() >= waiting[number].deadline) {
				answer(number, "no answer in time", undefined);
			}
		}
	}

	// Runs a script in this process's coordinator; the script may in turn run one elsewhere. `callback(error, result)` is called from a later
	// `timeslice`, once: `error` is undefined when it went well, else a text; a script whose value is an Error hasn't gone well. After
	// `milliseconds` (10000 if left out) it is told that there was no answer. False when nothing is started.
	api.eval = function (mslText, callback, milliseconds) {
		var number, payload;
		if (!isStarted) {
			return false;
		}
		number = ++lastNumber;
		payload = toText({ clientSequenceNr: number, clientSessionId: clientSessionId, script: String(mslText) });
		waiting[number] = { callback: callback, deadline: now() + (milliseconds > 0 ? Number(milliseconds) : DEFAULT_MILLISECONDS) };
		library.mrvRelayHostMessage(clientHost, ["Message", "RemoteResolvedAddress", clientGUID, upstreamGUID, "", clientHost,
			"InternalAddress", DEFAULT_SERVICE, String(OPCODE_EVAL), escapeLine(payload), ""].join("\n"));
		return true;
	};

	// The same, waiting for the answer while the coordinator and its scripts go on. Gives the result; throws an Error when there was none.
	api.evalAndWait = function (mslText, milliseconds) {
		var isDone = false;
		var error, result;
		if (isInTimeslice) {
			throw new Error("Morvane.evalAndWait: not from within a timeslice");
		}
		if (!api.eval(mslText, function (anError, aResult) { isDone = true; error = anError; result = aResult; }, milliseconds)) {
			throw new Error("Morvane.evalAndWait: not started");
		}
		while (!isDone) {
			api.timeslice();
			if (!isDone) {
				sleep(1);
			}
		}
		if (error) {
			throw new Error("Morvane.evalAndWait: " + error);
		}
		return result;
	};

	// --- Idle tasks, for hosts that have them

	// Calls `timeslice` whenever the host is idle, at most every so many milliseconds. False when the host has no idle tasks; then call
	// `timeslice` by other means.
	api.startIdleTask = function (milliseconds) {
		if (idleTask || typeof app === "undefined" || !app.idleTasks) {
			return idleTask !== null;
		}
		idleTask = app.idleTasks.add({ name: "Morvane", sleep: milliseconds > 0 ? Number(milliseconds) : 50 });
		idleTask.addEventListener("onIdle", function () { api.timeslice(); });
		return true;
	};

	api.stopIdleTask = function () {
		if (idleTask) {
			idleTask.remove();
			idleTask = null;
		}
	};

	api.toText = toText;
	api.fromText = fromText;
	return api;
}());
