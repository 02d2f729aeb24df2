;;; Moving a project between its file and a database server. An office whose designers share one
;;; project from many machines keeps it on a server; the project folder then holds a link file
;;; ("<folder>_kv_hvac.kvlink") in place of the project file, and everything else works as before.

;; Prints the figures kvdb-copy proved, one table a line.
(defun kv_hvac-server-report (figures)
  (foreach f figures
    (princ (strcat "\n  " (car f) ": " (itoa (cadr f)) " rows, checksum " (caddr f)))))

;; Whether PATH is a link to a server project.
(defun kv_hvac-server-linkp (path) (= (strcase (vl-filename-extension path)) ".KVLINK"))

;; Drops the server schema behind LINK; T, or nil with what is left on the server printed.
(defun kv_hvac-server-drop (link / dropped)
  (setq dropped (vl-catch-all-apply 'kvdb-drop (list link)))
  (if (vl-catch-all-error-p dropped)
    (progn (princ (strcat "\n" (vl-catch-all-error-message dropped))) nil)
    T))

;; Copies project FROM into the newly made project TO, and retires FROM when the copy is proved;
;; on any failure TO goes (its link and server schema, or its file) and FROM stays as it was. A
;; server project left behind is dropped only once every table has been compared, so the server
;; keeps no stale copy that a designer could still open and write to. The figures, or nil.
(defun kv_hvac-server-move (from to / figures)
  (setq figures (vl-catch-all-apply 'kvdb-copy (list from to)))
  (cond
    ((vl-catch-all-error-p figures)
     (if (kv_hvac-server-linkp to) (kv_hvac-server-drop to))
     (kvdb-retire to)
     (vl-file-delete (strcat to ".moved"))
     (princ (strcat "\nThe project was not moved: " (vl-catch-all-error-message figures)))
     nil)
    (T
     (princ (strcat "\nThe project moved to " to ", every table compared:"))
     (kv_hvac-server-report figures)
     (if (and (kv_hvac-server-linkp from) (kv_hvac-server-drop from)) (princ "\nThe server's copy is dropped."))
     (kvdb-retire from)
     (princ (strcat "\nThe old " (if (kv_hvac-server-linkp from) "link" "database") " is kept as " from ".moved"))
     figures)))

;; The one project database of FOLDER when its name ends in EXTENSION (".KV" or ".KVLINK"), else nil
;; with the reason printed.
(defun kv_hvac-server-source (folder extension / file)
  (cond
    ((null (setq file (kvdb-find folder "kv_hvac")))
     (princ "\nThe folder has no project database, or more than one.") nil)
    ((/= (strcase (vl-filename-extension file)) extension)
     (princ (strcat "\n" file " is not a " (strcase extension T) " project.")) nil)
    (T file)))

;; Moves the project of FOLDER from its file onto SERVER (a connection string; nil for the server
;; KV_PROJECTDB_SERVER names). The figures per table, or nil.
(defun kv_hvac-server-toServer (folder server / file link)
  (setq folder (vl-string-right-trim " /\\" folder))
  (if (setq file (kv_hvac-server-source folder ".KV"))
    (progn
      (setq link (strcat file "link"))
      (kvdb-create link server)
      (kv_hvac-server-move file link))))

;; Moves the project of FOLDER from the server back into a file. The figures per table, or nil.
(defun kv_hvac-server-toFile (folder / link file)
  (setq folder (vl-string-right-trim " /\\" folder))
  (if (setq link (kv_hvac-server-source folder ".KVLINK"))
    (progn
      (setq file (substr link 1 (- (strlen link) 4)))
      (kvdb-create file)
      (kv_hvac-server-move link file))))

(defun C:KV-DBTOSERVER (/ server)
  (setq server (getstring T "\nConnection string of the database server <KV_PROJECTDB_SERVER>: "))
  (kv_hvac-server-toServer (getvar "DWGPREFIX") (if (/= server "") server))
  (princ))

(defun C:KV-DBTOFILE ()
  (kv_hvac-server-toFile (getvar "DWGPREFIX"))
  (princ))
