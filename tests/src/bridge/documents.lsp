;;; Documents and projects as drawings open, move and close: c:checkkv after every step.
;;; Run by test lisp.bridge_documents with KV_BRIDGE_WORK naming an empty folder that holds the
;;; folders one, two and three; the test compares what c:checkkv prints.

(setq root (getenv "KV_BRIDGE_WORK"))
(if (null root) (progn (princ "\nKV_BRIDGE_WORK is not set") (exit 2)))
(defun at (relative) (strcat root "/" relative))

;; Each folder is a project with its own database: a file, or a link to a schema on the server
;; when one is named for new projects.
(setq ext (if (getenv "KV_PROJECTDB_SERVER") "_kv_hvac.kvlink" "_kv_hvac.kv"))
(foreach project '("one/office" "two/plant" "three/annex")
  (if (not (kvdb-create (at (strcat project ext))))
    (progn (princ (strcat "\nno database for " project)) (exit 2))))

(defun step (title) (princ (strcat "\n== " title)) (c:checkkv))

(kvhost-open (at "one/a.dwg"))
(step "open one/a")
(kvhost-open (at "one/b.dwg"))
(step "open one/b")
(kvhost-open (at "two/c.dwg"))
(step "open two/c")
(kvhost-autosave)
(step "automatic save")
(kvhost-save-as (at "three/c.dwg"))
(step "save two/c as three/c")
(kvhost-activate (at "one/a.dwg"))
(step "activate one/a")
(kvhost-close (at "one/b.dwg"))
(step "close one/b")
(kvhost-close (at "one/a.dwg"))
(kvhost-activate (at "three/c.dwg"))
(step "close one/a")
(princ "\n== end")
(princ)
