// The host's own objects, as scripts see them, over what the host does for them: morvaneHost.call(operation, argument, ...). ECMAScript 3.

var $ = {
	// The file that runs, as a full path.
	fileName: "",
	write: function () {
		var i;
		for (i = 0; i < arguments.length; i++) {
			morvaneHost.call("write", String(arguments[i]));
		}
	},
	writeln: function () {
		$.write.apply($, arguments);
		morvaneHost.call("write", "\n");
	},
	sleep: function (milliseconds) { morvaneHost.call("sleep", Number(milliseconds)); }
};

// A path, from the current folder when it isn't absolute.
function File(path) {
	this.fsName = morvaneHost.call("fullPath", String(path));
	this.exists = morvaneHost.call("fileExists", this.fsName);
}
File.prototype.toString = function () { return this.fsName; };

function Folder(path) {
	this.fsName = morvaneHost.call("fullPath", String(path)).replace(/(.)[\/\\]$/, "$1");
}
Folder.prototype.toString = File.prototype.toString;
// Where the host's program is.
Folder.startup = new Folder(morvaneHost.call("programFolder"));

var app = {
	name: "morvane-host",
	path: Folder.startup,
	// Ends the host after the script or idle task that runs; the number, 0 if left out, is its exit status.
	quit: function (status) { morvaneHost.call("quit", typeof status === "undefined" ? 0 : Number(status)); },
	idleTasks: (function () {
		var tasks = [];

		function now() { return new Date().getTime(); }

		function IdleTask(options) {
			this.name = options && options.name ? String(options.name) : "";
			this.sleep = options && options.sleep > 0 ? Number(options.sleep) : 1;
			this.handlers = [];
			this.due = now() + this.sleep;
		}
		IdleTask.prototype.addEventListener = function (eventType, handler) {
			if (eventType === "onIdle") {
				this.handlers.push(handler);
			}
		};
		IdleTask.prototype.remove = function () {
			var i;
			for (i = 0; i < tasks.length; i++) {
				if (tasks[i] === this) {
					tasks.splice(i, 1);
				}
			}
		};
		return {
			add: function (options) {
				var task = new IdleTask(options);
				tasks.push(task);
				return task;
			},
			count: function () { return tasks.length; },
			// Runs those whose time has come, and gives the milliseconds until the next one; -1 when none is left. For the host.
			run: function () {
				var running = tasks.slice(0);
				var wait = -1;
				var i, j;
				for (i = 0; i < running.length; i++) {
					// A clock that was set back must not hold a task up.
					if (running[i].due <= now() || running[i].due > now() + running[i].sleep) {
						for (j = 0; j < running[i].handlers.length; j++) {
							try {
								running[i].handlers[j]();
							} catch (error) {
								morvaneHost.call("log", "idle task: " + (error && error.message ? error.message : error));
							}
						}
						running[i].due = now() + running[i].sleep;
					}
				}
				for (i = 0; i < tasks.length; i++) {
					wait = wait < 0 ? Math.max(0, tasks[i].due - now()) : Math.max(0, Math.min(wait, tasks[i].due - now()));
				}
				return wait;
			}
		};
	}())
};

// An external object: the methods that the library names become methods of this one. Throws an Error when it can't be loaded; a method does
// when the library reports an error.
function ExternalObject(url) {
	var number = morvaneHost.call("load", String(url).replace(/^lib:/, ""));
	var names = morvaneHost.call("methods", number).split(",");
	var i;

	function caller(name) {
		return function () {
			var j;
			for (j = 0; j < arguments.length; j++) {
				morvaneHost.call("argument", arguments[j]);
			}
			return morvaneHost.call("invoke", number, name);
		};
	}

	for (i = 0; i < names.length; i++) {
		this[names[i]] = caller(names[i]);
	}
	this.version = morvaneHost.call("version", number);
	this.unload = function () { morvaneHost.call("unload", number); };
}
