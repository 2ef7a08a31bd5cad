// A host without a library: what morvane.jsx asks of a host, and an external object that a test scripts. Read before morvane.jsx.

var existing = {"/plugins/libMorvaneESDLL_x64R.so": true};
var refusal = "";
var slept = 0;
var fake = {log: [], messages: [], scripts: [], reports: [], relayed: [], slices: 0, isRunning: false, startLog: [], onSlice: null};

var $ = {fileName: "/plugins/morvane.jsx", sleep: function (milliseconds) { slept += milliseconds; }};
function File(path) {
	this.fsName = path;
	this.exists = existing[path] === true;
}
var app = {
	idleTasks: {
		tasks: [],
		add: function (options) {
			var task = {
				options: options,
				addEventListener: function (name, handler) { this[name] = handler; },
				remove: function () { app.idleTasks.tasks = []; }
			};
			this.tasks.push(task);
			return task;
		}
	}
};

function ExternalObject(url) {
	if (refusal) {
		throw new Error(refusal);
	}
	this.url = url;
	fake.url = url;
}
ExternalObject.prototype = {
	mrvInit: function (name) { fake.isRunning = true; fake.name = name; fake.log = fake.startLog.slice(0); },
	mrvShutdown: function () { fake.isRunning = false; },
	mrvTimeslice: function () { fake.slices++; if (fake.onSlice) { fake.onSlice(); } },
	mrvGetScriptQueueSize: function () { return fake.scripts.length; },
	mrvGetScript: function () { return fake.scripts[0]; },
	mrvAdvanceScriptQueue: function () { fake.scripts.shift(); },
	mrvReportScriptCompleted: function (error, result) { fake.reports.push([error, result]); },
	mrvGetHostMessageQueueSize: function () { return fake.messages.length; },
	mrvGetHostMessageTargetHost: function () { return fake.messages[0][0]; },
	mrvGetHostMessage: function () { return fake.messages[0][1]; },
	mrvAdvanceHostMessageQueue: function () { fake.messages.shift(); },
	mrvGetLogMessageQueueSize: function () { return fake.log.length; },
	mrvGetLogMessage: function () { return fake.log[0]; },
	mrvAdvanceLogMessageQueue: function () { fake.log.shift(); },
	mrvRelayHostMessage: function (host, text) { fake.relayed.push([host, text]); }
};
